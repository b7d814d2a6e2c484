#pragma once

#include <boost/asio/ip/tcp.hpp>

#include <cstdint>
#include <memory>
#include <string>

#include "ClientNumber.h"
#include "Limits.h"

namespace GatrixGateway
{

/** Why the gateway closes a connection (RFC 6455, section 7.4.1, and the IANA registry it opened). */
enum class CloseCode : std::uint16_t
{
    kGoingAway = 1001,
    kUnsupportedData = 1003,
    kPolicyViolation = 1008,
    kInternalError = 1011,
    kTryAgainLater = 1013,
};

/**
 * Speaks WebSocket (RFC 6455) with one client. All operations belong to the thread that runs the context. Frames that
 * are too large or no UTF-8 close the connection by themselves (1009, 1007).
 */
class Connection
{
public:
    /** Called on the context's thread, never from within an operation of the connection. Outlives the connection. */
    class Owner
    {
    public:
        virtual void OnFrame(ClientNumber client, const std::string& text) = 0;
        /** The client went, or broke the protocol: no frame will come. OnEnd follows. Not told after Close. */
        virtual void OnLeave(ClientNumber client, const std::string& why) = 0;
        /** The connection's last call: its socket is closed. */
        virtual void OnEnd(ClientNumber client) = 0;

    protected:
        Owner() = default;
        ~Owner() = default;
    };

    /** Begins the handshake as a server. The first frame must come within the limits' helloTime. */
    static std::shared_ptr<Connection> Open(boost::asio::ip::tcp::socket socket, ClientNumber client,
                                            const ConnectionLimits& limits, Owner& owner);

    virtual ~Connection() = default;

    /**
     * Queues a frame. One for a connection that is being closed goes nowhere.
     *
     * @return false, and nothing queued, when the queue is full: the client does not read
     */
    virtual bool Send(std::shared_ptr<const std::string> text) = 0;

    /** Whether half of what the queue may hold waits in it. */
    virtual bool IsHalfFull() const = 0;

    /**
     * Closes the connection: frames that wait are not sent, frames that arrive are not told. OnEnd follows, at the
     * latest after the limits' closeTime. Does nothing when it is being closed already.
     *
     * @param reason cut to what a close frame holds (123 bytes)
     */
    virtual void Close(CloseCode code, const std::string& reason) = 0;
};

} // namespace GatrixGateway
