#include "GatrixConnection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace asio = boost::asio;

namespace Gatrix
{
namespace
{
using Resolver = asio::ip::basic_resolver<asio::ip::tcp, asio::io_context::executor_type>;

constexpr WebSocketSession::Limits kLimits{std::numeric_limits<std::size_t>::max(), GatrixConnection::kMaxWaitingBytes,
                                           std::chrono::seconds(2)};
} // namespace

GatrixConnection::GatrixConnection(EventLoop& loop, Observer& observer, Target target)
    : m_loop(loop), m_observer(observer), m_target(std::move(target)), m_limit(loop.Context())
{
    m_limit.Set(Alarm::Clock::now() + m_target.limit,
                [this] { m_observer.OnDown("not answered within " + std::to_string(m_target.limit.count()) + " ms"); });
    LookUp();
}

void GatrixConnection::LookUp()
{
    // A look-up cannot be cancelled: it may end when the connection is gone.
    const auto resolver = std::make_shared<Resolver>(m_loop.Context());
    resolver->async_resolve(m_target.host, std::to_string(m_target.port),
                            [resolver, self = WeakRef<GatrixConnection>(this, m_anchor)](
                                const boost::system::error_code& error, const Resolver::results_type& results) {
                                GatrixConnection* const connection = self.Get();
                                if (connection == nullptr) {
                                    return;
                                }
                                for (const auto& result : results) {
                                    const asio::ip::tcp::endpoint endpoint = result.endpoint();
                                    Address& address = connection->m_addresses.emplace_back();
                                    address.size = static_cast<socklen_t>(endpoint.size());
                                    std::memcpy(&address.bytes, endpoint.data(), endpoint.size());
                                }
                                connection->m_reason = error.message();
                                connection->TryNextAddress();
                            });
}

void GatrixConnection::TryNextAddress()
{
    m_session.reset();
    while (!m_addresses.empty()) {
        const Address address = m_addresses.front();
        m_addresses.pop_front();
        m_socket = FileDescriptor(::socket(address.bytes.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        const auto* const place = reinterpret_cast<const sockaddr*>(&address.bytes);
        if (m_socket && (::connect(m_socket.Get(), place, address.size) == 0 || errno == EINPROGRESS)) {
            m_connecting.emplace(m_loop.Context(), m_socket);
            m_connecting->Await(DescriptorWatch::For::Writing, [this] { OnConnected(); });
            return;
        }
        m_reason = std::generic_category().message(errno);
    }
    const std::string reason = m_reason;
    m_observer.OnDown(reason);
}

void GatrixConnection::OnConnected()
{
    m_connecting.reset();
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(m_socket.Get(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) {
        m_reason = std::generic_category().message(error);
        TryNextAddress();
        return;
    }
    const bool isIPv6 = m_target.host.find(':') != std::string::npos;
    const std::string host = isIPv6 ? "[" + m_target.host + "]" : m_target.host;
    m_session = WebSocketSession::Connect(m_loop.Context(), std::move(m_socket),
                                          host + ":" + std::to_string(m_target.port), kLimits, *this);
}

void GatrixConnection::OnOpen()
{
    m_isUp = true;
    m_limit.Cancel();
    Send(m_target.firstFrame);
    m_observer.OnUp();
}

void GatrixConnection::OnMessage(const std::string& payload, bool isText)
{
    m_observer.OnMessage(payload, isText);
}

void GatrixConnection::OnLeave(std::optional<unsigned> code, const std::string& reason)
{
    if (m_isUp) {
        m_observer.OnDown(code ? "closed by the gateway with " + std::to_string(*code) + " '" + reason + "'" : reason);
    } else {
        m_reason = reason;
        TryNextAddress();
    }
}

void GatrixConnection::OnEnd()
{
    m_observer.OnDown("closed by this side");
}

bool GatrixConnection::Send(std::string frame)
{
    return m_session->Send(std::make_shared<const std::string>(std::move(frame)));
}

void GatrixConnection::Finish()
{
    m_session->Finish();
}
} // namespace Gatrix
