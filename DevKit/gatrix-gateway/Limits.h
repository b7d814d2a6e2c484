#pragma once

#include <chrono>
#include <cstddef>

/** What a client may take of the gateway, so that none takes it from the others. */
namespace GatrixGateway
{

/** Bytes of an endpoint that is registered, subscribed to or of interest. */
inline constexpr std::size_t kMaxEndpointBytes = 1024;
/** Registrations, subscriptions and endpoints of interest, of each, that a client may have. */
inline constexpr std::size_t kMaxEndpointsOfAClient = 1024;
/** Requests that a client may have under way. */
inline constexpr std::size_t kMaxOpenRequestsOfAClient = 4096;

/** Limits of connections. */
struct ConnectionLimits
{
    std::size_t connections = 1024; ///< At a time; others wait to be accepted.
    /** For the WebSocket handshake and the first frame to arrive. */
    std::chrono::milliseconds helloTime = std::chrono::seconds(10);
    /** For a closing handshake, after which the socket is closed all the same. */
    std::chrono::milliseconds closeTime = std::chrono::seconds(2);
    std::size_t queuedFrames = 4096;                        ///< That a client has not yet taken.
    std::size_t queuedBytes = std::size_t{4} * 1024 * 1024; ///< In those frames.
};

} // namespace GatrixGateway
