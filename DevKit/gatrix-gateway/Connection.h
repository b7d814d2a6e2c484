#pragma once

#include "Alarm.h"
#include "ClientNumber.h"
#include "FileDescriptor.h"
#include "Limits.h"
#include "WebSocketSession.h"

#include <memory>
#include <optional>
#include <string>

namespace GatrixGateway
{

using Gatrix::CloseCode;

/** The gateway's end of the WebSocket with one client. Not thread-safe. */
class Connection final : private Gatrix::WebSocketSession::Owner
{
public:
    /** Is told what becomes of a connection, never from within one of its operations. It outlives the connection. */
    class Owner
    {
    public:
        virtual void OnFrame(ClientNumber client, const std::string& text) = 0;
        /** The client went, or broke the protocol: no frame will come. OnEnd follows. Not told after Close. */
        virtual void OnLeave(ClientNumber client, const std::string& why) = 0;
        /** The connection's last call, which may destroy it: its socket is closed. */
        virtual void OnEnd(ClientNumber client) = 0;

    protected:
        Owner() = default;
        ~Owner() = default;
    };

    /**
     * Begins the handshake as a server. The first frame must come within the limits' helloTime.
     *
     * @throws std::system_error when the kernel does not take the socket
     */
    Connection(boost::asio::io_context& context, FileDescriptor socket, ClientNumber client,
               const ConnectionLimits& limits, Owner& owner);

    /** Queues a frame, see WebSocketSession::Send. @return false when the queue is full: the client does not read */
    bool Send(std::shared_ptr<const std::string> text) { return m_session->Send(std::move(text)); }

    /** Whether half of what the queue may hold waits in it. */
    bool IsHalfFull() const { return m_session->IsHalfFull(); }

    /** See WebSocketSession::Close. */
    void Close(CloseCode code, const std::string& reason);

private:
    void OnOpen() override;
    void OnMessage(const std::string& payload, bool isText) override;
    void OnLeave(std::optional<unsigned> code, const std::string& reason) override;
    void OnEnd() override;

    const ClientNumber m_client;
    Owner& m_owner;
    bool m_isOpen = false;
    /** Of the time for the first frame. */
    Alarm m_hello;
    const std::shared_ptr<Gatrix::WebSocketSession> m_session;
};

} // namespace GatrixGateway
