#pragma once

#include "ClientNumber.h"
#include "GatrixWire.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

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
};

/**
 * Who is told what: frames of clients go in, frames for clients come out. Knows no connection. What it keeps of a
 * client is bounded (Limits.h). Not thread-safe.
 */
class Router
{
public:
    /**
     * Takes a frame that a client sent.
     *
     * @throws Gatrix::Wire::FrameError when the client may not send it, and must be dropped: its first frame is no
     * hello, it is beyond its bounds, or the frame is one for the gateway to send
     */
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
    struct Client
    {
        std::string name;
        std::set<std::string> handled; ///< Keys of m_handlers.
        std::set<std::string> subscriptions;
        std::vector<std::string> interest; ///< As the client listed it.
        bool isReady = false;              ///< All of the interest has a handler, and the client knows.
        std::size_t openRequests = 0;      ///< Of its own.
    };

    /** A request that was delivered to its handler and has no answer yet. */
    struct OpenRequest
    {
        ClientNumber requester = 0;
        std::uint64_t requestersId = 0; ///< The requester's own number of it; several open ones may have the same.
        ClientNumber handler = 0;
        std::string named; ///< Method and endpoint, for people.
    };
    using OpenRequests = std::map<std::uint64_t, OpenRequest>;

    void On(ClientNumber client, const Gatrix::Wire::Hello& hello, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Interest& interest, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Register& registration, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Subscribe& subscription, Effects& effects);
    void On(ClientNumber client, Gatrix::Wire::Request request, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Notify& notification, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::Ready& ready, Effects& effects);
    void On(ClientNumber client, const Gatrix::Wire::NotReady& notReady, Effects& effects);

    /** Takes an answer or a refusal of the client; gives it, with the requester's number, to the requester. */
    template <typename Outcome>
    void On(ClientNumber client, Outcome outcome, Effects& effects);

    /** Whether the endpoint has a handler for any method. */
    bool HasHandler(const std::string& endpoint) const;
    /** Tells those that are interested in it, and in nothing else that has no handler, of an endpoint's first one. */
    void TellGain(const std::string& endpoint, Effects& effects);
    /** Tells those that were ready of the endpoints that lost their last handler. */
    void TellLoss(const std::set<std::string>& lost, Effects& effects);
    /** Notes whether all that the client is interested in has a handler, and tells it so if it has. */
    void TellReady(ClientNumber client, Effects& effects);
    /** Takes the request out. */
    OpenRequest Close(OpenRequests::iterator request);
    void Reject(const OpenRequest& request, int statusCode, const std::string& message, Effects& effects) const;

    std::map<ClientNumber, Client> m_clients;
    /** By method and endpoint, "GET /a": the newest handler, which wins, last; the others stay behind it. */
    std::map<std::string, std::vector<ClientNumber>> m_handlers;
    /** By the gateway's own numbers. */
    OpenRequests m_requests;
    std::uint64_t m_lastRequest = 0;
};

} // namespace GatrixGateway
