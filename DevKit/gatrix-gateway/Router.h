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

namespace GatrixGateway
{

/** A frame for a client. */
struct Delivery
{
    ClientNumber client = 0;
    std::shared_ptr<const std::string> text; ///< At most Gatrix::Wire::kMaxFrameBytes.
    /** The gateway's number, where the frame is a request: Router::Refuse takes it back. */
    std::optional<std::uint64_t> request;
};

/** What comes of an event. */
struct Effects
{
    std::vector<Delivery> deliveries; ///< To be sent in this order.
    std::vector<std::string> lines;   ///< For the log; may hold anything that clients send.
    /** Why the client that sent the frame must be dropped and its connection closed; none if it may stay. */
    std::optional<std::string> violation;
};

/**
 * Who is told what: frames of clients go in, frames for clients come out. Knows no connection. What it keeps of a
 * client is bounded (Limits.h). Not thread-safe.
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
    void On(ClientNumber client, const Gatrix::Wire::Notify& notification, Effects& effects);
    void On(ClientNumber /*client*/, const Gatrix::Wire::Ready& /*ready*/, Effects& effects)
    {
        effects.violation = "ready is for the gateway to send";
    }
    void On(ClientNumber /*client*/, const Gatrix::Wire::NotReady& /*notReady*/, Effects& effects)
    {
        effects.violation = "notReady is for the gateway to send";
    }

    /** Takes an answer or a refusal of the client; gives it, with the requester's number, to the requester. */
    template <typename Outcome>
    void On(ClientNumber client, Outcome outcome, Effects& effects);

    /** Whether the endpoint has a handler for any method. */
    bool HasHandler(const std::string& endpoint) const;
    /** Forgets the client's registrations. @return the endpoints that have no handler any more */
    std::vector<std::string> DropHandler(ClientNumber client);
    void Tell(const Interests::Told& ready, Effects& effects) const;
    void Reject(ClientNumber requester, std::uint64_t requestersId, int statusCode, const std::string& message,
                Effects& effects) const;

    std::map<ClientNumber, std::string> m_names;
    /** By method and endpoint, "GET /a"; the newest handler wins, the others stay behind it. */
    EndpointIndex m_handlers;
    Interests m_interests;
    EndpointIndex m_subscriptions;
    OpenRequests m_requests;
};

} // namespace GatrixGateway
