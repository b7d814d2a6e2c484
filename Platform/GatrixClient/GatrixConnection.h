#pragma once

#include "Alarm.h"
#include "DescriptorWatch.h"
#include "EventLoop.h"
#include "FileDescriptor.h"
#include "WeakRef.h"
#include "WebSocketSession.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <sys/socket.h>

namespace Gatrix
{
/**
 * One connection to the gateway, from the look-up of its name to its end: a WebSocket (RFC 6455) on plain TCP. Not
 * thread-safe.
 */
class GatrixConnection final : private WebSocketSession::Owner
{
public:
    /** Bytes of frames that may wait for the gateway to read them. */
    static constexpr std::size_t kMaxWaitingBytes = std::size_t{16} * 1024 * 1024;

    /** Who is told what becomes of the connection. */
    class Observer
    {
    public:
        virtual ~Observer() = default;
        /** The gateway took the connection, and the first frame is on its way. */
        virtual void OnUp() = 0;
        /** The payload of a message that the gateway sent; a binary one cannot be a frame of the protocol. */
        virtual void OnMessage(const std::string& payload, bool isText) = 0;
        /** The connection could not be made, or is at its end: the observer destroys it. */
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

    /** Sends a frame behind those that still wait; false, and it is not sent, when too many bytes wait already. */
    bool Send(std::string frame);

    /** Sends what waits and closes the connection in order; the observer is told of its end. */
    void Finish();

private:
    struct Address
    {
        sockaddr_storage bytes;
        socklen_t size;
    };

    void LookUp();
    void TryNextAddress();
    void OnConnected();

    void OnOpen() override;
    void OnMessage(const std::string& payload, bool isText) override;
    void OnLeave(std::optional<unsigned> code, const std::string& reason) override;
    void OnEnd() override;

    EventLoop& m_loop;
    Observer& m_observer;
    const Target m_target;
    /** Ends the attempt to connect. */
    Alarm m_limit;
    /** Addresses that were not tried yet. */
    std::deque<Address> m_addresses;
    /** Why connecting to the latest address failed. */
    std::string m_reason;
    FileDescriptor m_socket;
    std::optional<DescriptorWatch> m_connecting;
    std::shared_ptr<WebSocketSession> m_session;
    bool m_isUp = false;
    WeakRefAnchor m_anchor;
};
} // namespace Gatrix
