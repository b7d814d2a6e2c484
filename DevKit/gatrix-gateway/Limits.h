#pragma once

#include <chrono>
#include <cstddef>

/** What a client may take of the gateway, so that the others have theirs. */
namespace GatrixGateway
{

/** Bytes of an endpoint that is registered, subscribed to or of interest. */
inline constexpr std::size_t kMaxEndpointBytes = 1024;
/** Of registrations, of subscriptions and of endpoints of interest. */
inline constexpr std::size_t kMaxEndpointsOfAClient = 1024;
/** Requests without an answer. */
inline constexpr std::size_t kMaxOpenRequestsOfAClient = 4096;

struct ConnectionLimits
{
    std::size_t connections = 1024; ///< At a time; other clients wait to be accepted.
    /** Until the WebSocket handshake is done and the first frame has arrived. */
    std::chrono::milliseconds helloTime = std::chrono::seconds(10);
    /** Until the socket is closed, whatever the closing handshake has come to. */
    std::chrono::milliseconds closeTime = std::chrono::seconds(2);
    std::size_t queuedFrames = 4096;                        ///< That a client has not yet taken.
    std::size_t queuedBytes = std::size_t{4} * 1024 * 1024; ///< In those frames.
};

} // namespace GatrixGateway
