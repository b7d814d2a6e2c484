#include "Connection.h"

#include <utility>

namespace GatrixGateway
{

Connection::Connection(boost::asio::io_context& context, FileDescriptor socket, ClientNumber client,
                       const ConnectionLimits& limits, Owner& owner)
    : m_client(client),
      m_owner(owner),
      m_hello(context),
      m_session(Gatrix::WebSocketSession::Accept(context, std::move(socket),
                                                 {limits.queuedFrames, limits.queuedBytes, limits.closeTime}, *this))
{
    m_hello.Set(Alarm::Clock::now() + limits.helloTime, [this] {
        m_owner.OnLeave(m_client, "no hello in time");
        m_owner.OnEnd(m_client);
    });
}

void Connection::Close(CloseCode code, const std::string& reason)
{
    m_hello.Cancel();
    m_session->Close(code, reason);
}

void Connection::OnOpen()
{
    m_isOpen = true;
}

void Connection::OnMessage(const std::string& payload, bool isText)
{
    m_hello.Cancel();
    if (isText) {
        m_owner.OnFrame(m_client, payload);
        return;
    }
    m_session->Close(CloseCode::UnsupportedData, "frames are texts");
    m_owner.OnLeave(m_client, "a frame that is no text");
}

void Connection::OnLeave(std::optional<unsigned> code, const std::string& reason)
{
    m_hello.Cancel();
    if (code) {
        m_owner.OnLeave(m_client,
                        "closed by the client, code " + std::to_string(*code) + (reason.empty() ? "" : " " + reason));
    } else {
        m_owner.OnLeave(m_client, m_isOpen ? reason : "no WebSocket handshake: " + reason);
    }
}

void Connection::OnEnd()
{
    m_owner.OnEnd(m_client);
}

} // namespace GatrixGateway
