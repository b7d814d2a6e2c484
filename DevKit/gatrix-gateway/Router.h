#pragma once

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

/** A connection to the gateway, counted from 1 in the order of arrival; never used again. */
using ClientNumber = std::uint64_t;

/** A frame for a client. */
struct Delivery
{
    ClientNumber client = 0;
    std::shared_ptr<const std::string> text; ///< At most Gatrix::Wire::kMaxFrameBytes.
    std::optional<std::uint64_t> request;    ///< The gateway's number of the frame, if it is a request.
};

/** What comes of an event. */
struct Effects
{
    std::vector<Delivery> deliveries; ///< In their order.
    std::vector<std::string> lines;   ///< For the log, with whatever clients have sent.
};

/** Takes frames of clients, and gives frames for clients. What it keeps is bounded (Limits.h). Not thread-safe. */
class Router
{
public:
    /**
     * Takes a frame that a client sent.
     * @throws Gatrix::Wire::FrameError when the client may not send it, and must be dropped: its first frame is no
     * hello, it is beyond its bounds, or the frame is one for the gateway to send
     */
    Effects Take(ClientNumber client, Gatrix::Wire::Frame frame);

    /** Refuses an open request in its handler's place. @param reason goes before the method and the endpoint */
    Effects Refuse(std::uint64_t request, int statusCode, const std::string& reason);

    /** Forgets a client, which may have said no hello. */
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
        bool isReady = true;               ///< All of the interest has a handler, as far as the client was told.
        std::size_t openRequests = 0;      ///< Of its own.
    };

    /** A request that was delivered to its handler and has no answer yet. */
    struct OpenRequest
    {
        ClientNumber requester = 0;
        std::uint64_t requestersId = 0; ///< The requester's own number; several open requests may have the same.
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

    /** An answer or a refusal: the requester gets it with its own number. */
    template <typename Outcome>
    void On(ClientNumber client, Outcome outcome, Effects& effects);

    /** Whether the endpoint has a handler for any method. */
    bool HasHandler(const std::string& endpoint) const;
    /** Tells the clients of which the endpoints of interest now all have a handler, or no longer do. */
    void TellChanges(Effects& effects);
    /** Removes the request. */
    OpenRequest Close(OpenRequests::iterator request);
    void Reject(const OpenRequest& request, int statusCode, const std::string& message, Effects& effects) const;

    std::map<ClientNumber, Client> m_clients;
    /** By method and endpoint, "GET /a": the newest handler, which wins, last; the others stay behind it. */
    std::map<std::string, std::vector<ClientNumber>> m_handlers;
    OpenRequests m_requests; ///< By the gateway's own numbers.
    std::uint64_t m_lastRequest = 0;
};

} // namespace GatrixGateway
