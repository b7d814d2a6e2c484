#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ClientNumber.h"
#include "EndpointIndex.h"
#include "GatrixWire.h"
#include "Interests.h"
#include "OpenRequests.h"
#include "Registrations.h"

namespace GatrixGateway
{

/** A frame for a client. */
struct Delivery
{
    ClientNumber client = 0;
    std::shared_ptr<const std::string> text; //!< At most Gatrix::Wire::kMaxFrameBytes.
    /** The gateway's number, where the frame is a request: Router::Refuse takes it back. */
    std::optional<std::uint64_t> request;
};

/** What comes of an event. */
struct Effects
{
    std::vector<Delivery> deliveries; //!< To be sent in this order.
    std::vector<std::string> lines;   //!< For the log; may hold anything that clients send.
    /** Why the client that sent the frame must be dropped and its connection closed; none if it may stay. */
    std::optional<std::string> violation;
};

/**
 * Who is told what: frames of clients go in, frames for clients come out. Knows no connection. What it keeps of a
 * client is bounded (Limits.h). Belongs to one thread.
 */
class Router
{
public:
    /** Takes a frame that a client sent. The first one of a client must be its hello. */
    Effects Take(ClientNumber client, Gatrix::Wire::Frame frame);

    /**
     * Refuses, in its handler's place, a request that was to be delivered; nothing when it is no longer open.
     *
     * @param reason goes before the method and the endpoint
     */
    Effects Refuse(std::uint64_t request, int statusCode, const std::string& reason);

    /** Forgets a client; harmless for one that never said hello. */
    Effects Drop(ClientNumber client);

    /** "#3 name" for the log; "#3" before the client's hello. */
    std::string Label(ClientNumber client) const;

private:
    void On(ClientNumber client, const Gatrix::Wire::Hello& hello, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Interest& interest, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Register& registration, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Subscribe& subscription, Effects& effects);
    void On(ClientNumber client, Gatrix::Wire::Request request, Effects& effects);
    void On(ClientNumber client, Gatrix::Wire::Answer answer, Effects& effects);
    void On(ClientNumber client, Gatrix::Wire::Refusal refusal, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Notify& notification, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Ready& ready, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::NotReady& notReady, Effects& effects);

    /** Takes an answer or a refusal of the client; gives it, with the requester's number, to the requester. */
    template <typename Outcome>
    void Conclude(ClientNumber client, Outcome outcome, Effects& effects);

    void Tell(const Interests::Told& ready, Effects& effects) const;
    void Reject(ClientNumber requester, std::uint64_t requestersId, int statusCode, const std::string& message,
                Effects& effects) const;

    std::map<ClientNumber, std::string> m_names;
    Registrations m_registrations;
    Interests m_interests;
    EndpointIndex m_subscriptions;
    OpenRequests m_requests;
};

} // namespace GatrixGateway
