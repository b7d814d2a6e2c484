#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Alarm.h"
#include "EventLoop.h"

namespace Gatrix
{
/**
 * One connection to the gateway, from the look-up of its name to its end: a WebSocket (RFC 6455) on plain TCP, which
 * the kernel's keep-alive watches (tcp(7)). For the loop's thread alone.
 */
class GatrixConnection
{
public:
    /** Bytes of frames that may wait for the gateway to read them. */
    static constexpr std::size_t kMaxWaitingBytes = std::size_t{16} * 1024 * 1024;

    /** Who is told what becomes of the connection. It may destroy the connection then. */
    class Observer
    {
    public:
        virtual ~Observer() = default;
        /** The gateway took the connection, and the first frame is written. */
        virtual void OnUp() = 0;
        /** The payload of a message that the gateway sent; a binary one cannot be a frame of the protocol. */
        virtual void OnMessage(const std::string& payload, bool isText) = 0;
        /** The connection could not be made, or is at its end; nothing comes after that. */
        virtual void OnDown(const std::string& reason) = 0;
    };

    /** Where the gateway is, what it is told first, and how long it may take until then. */
    struct Target
    {
        std::string host;
        std::uint16_t port = 0;
        std::string firstFrame;
        std::chrono::milliseconds limit{};
    };

    /** Begins to connect, to each of the host's addresses until one takes it. The observer must outlive the connection.
     */
    GatrixConnection(EventLoop& loop, Observer& observer, Target target);

    /** Ends the connection without a word to the gateway or the observer. */
    ~GatrixConnection();
    GatrixConnection(const GatrixConnection&) = delete;
    GatrixConnection& operator=(const GatrixConnection&) = delete;

    /** Sends a frame behind those that still wait; false, and it is not sent, when too many bytes wait already. */
    bool Send(std::string frame);

    /** Sends what waits and closes the connection in order; the observer is told of its end. */
    void Finish();

private:
    class Session;
    const std::shared_ptr<Session> m_session;
};
} // namespace Gatrix
