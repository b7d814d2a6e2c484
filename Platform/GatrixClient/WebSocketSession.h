#pragma once

#include "CloseFrame.h"
#include "FileDescriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace boost::asio
{
class io_context;
}

namespace Gatrix
{
/**
 * One end of a WebSocket (RFC 6455) on a TCP connection, which the kernel's keep-alive watches (tcp(7)). Frames that
 * are larger than Wire::kMaxFrameBytes or no UTF-8 close the connection by themselves (1009, 1007). Not
 * thread-safe.
 */
class WebSocketSession
{
public:
    /** Is told what becomes of the session, never from within one of its operations. It may destroy it then. */
    class Owner
    {
    public:
        /** The handshake is done. */
        virtual void OnOpen() = 0;
        virtual void OnMessage(const std::string& payload, bool isText) = 0;
        /**
         * No message will come; OnEnd follows. Not told after Close or Finish.
         *
         * @param code   of the other side's close frame; nothing when none came
         * @param reason of that frame, or what is wrong with the connection
         */
        virtual void OnLeave(std::optional<unsigned> code, const std::string& reason) = 0;
        /** The last call: the socket is closed. */
        virtual void OnEnd() = 0;

    protected:
        Owner() = default;
        ~Owner() = default;
    };

    struct Limits
    {
        /** Messages, and bytes in them, that may wait for the other side to read them. */
        std::size_t waitingMessages;
        std::size_t waitingBytes;
        /** How long the other side may take to close, once it left or was told to. Then the socket is closed anyway. */
        std::chrono::milliseconds closeTime;
    };

    /**
     * Begins the handshake as the client's end. Letting go of the session closes the socket, unless the other side has
     * left: then what it sent is read first, so that it gets the close frame. The owner is told nothing more.
     *
     * @param socket connected
     * @param host   that is asked for
     * @param owner  must outlive the session
     * @throws std::system_error when the kernel does not take the socket
     */
    static std::shared_ptr<WebSocketSession> Connect(boost::asio::io_context& context, FileDescriptor socket,
                                                     const std::string& host, const Limits& limits, Owner& owner);

    /** The same as the server's end. A function of its own, so that a program of clients only does not hold it. */
    static std::shared_ptr<WebSocketSession> Accept(boost::asio::io_context& context, FileDescriptor socket,
                                                    const Limits& limits, Owner& owner);

    /**
     * Sends a text behind those that wait, after OnOpen. One for a session that is being closed goes nowhere.
     *
     * @return false, and nothing sent, when too much waits already
     */
    virtual bool Send(std::shared_ptr<const std::string> text) = 0;

    /** Whether half of what may wait does. */
    virtual bool IsHalfFull() const = 0;

    /**
     * Closes the connection: messages that wait are not sent, those that arrive are not told. OnEnd follows, within
     * the limits' closeTime. Does nothing when it is being closed already.
     *
     * @param reason cut to what a close frame holds (123 bytes)
     */
    virtual void Close(CloseCode code, const std::string& reason) = 0;

    /** As Close, with code 1000, but sends what waits first, and neither has a time limit. */
    virtual void Finish() = 0;

protected:
    ~WebSocketSession() = default;
};
} // namespace Gatrix
