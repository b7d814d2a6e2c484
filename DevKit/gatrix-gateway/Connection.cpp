#include "Connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <utility>

#include "GatrixWire.h"
#include "LoopbackListener.h"
#include "Utf8.h"

namespace GatrixGateway
{

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kBufferKept = std::size_t{64} * 1024;
constexpr std::size_t kLongestReason = 123;

/** A peer that vanished without a word is noticed by the kernel within a minute (tcp(7)). */
void KeepAlive(int socket)
{
    const std::pair<int, int> options[] = {{TCP_KEEPIDLE, 30}, {TCP_KEEPINTVL, 10}, {TCP_KEEPCNT, 3}};
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    for (const auto& [name, value] : options) {
        setsockopt(socket, IPPROTO_TCP, name, &value, sizeof value);
    }
}

/** The socket, and what happens to it at the end of the connection. */
struct Socket : asio::ip::tcp::socket
{
    using asio::ip::tcp::socket::socket;

    std::function<void()> onTeardown;
    std::array<char, std::size_t{16} * 1024> drained{};
};

template <typename Handler>
void Drain(Socket& socket, Handler handler)
{
    socket.async_read_some(asio::buffer(socket.drained),
                           [&socket, handler = std::move(handler)](beast::error_code error, std::size_t) mutable {
                               if (error) {
                                   handler(error);
                               } else {
                                   Drain(socket, std::move(handler));
                               }
                           });
}

/**
 * What the WebSocket layer calls (under this name) after the last frame, instead of its own. Closing with unread data
 * pending would reset the connection and lose the close frame on its way; a client that never closes must not keep the
 * connection.
 */
template <typename Handler>
void async_teardown(beast::role_type /*role*/, Socket& socket, Handler&& handler)
{
    beast::error_code ignored;
    socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    socket.onTeardown();
    Drain(socket, std::forward<Handler>(handler));
}

} // namespace

class Connection::Implementation : public std::enable_shared_from_this<Implementation>
{
public:
    Implementation(asio::io_context& context, FileDescriptor socket, ClientNumber client,
                   const ConnectionLimits& limits, Owner& owner)
        : m_stream(context), m_deadline(context), m_client(client), m_limits(limits), m_owner(owner)
    {
        KeepAlive(socket.Get());
        m_stream.next_layer().assign(IsIPv6(socket) ? asio::ip::tcp::v6() : asio::ip::tcp::v4(), socket.Get());
        socket.Release();
        m_stream.read_message_max(Gatrix::Wire::kMaxFrameBytes);
        m_stream.auto_fragment(false);
        m_stream.text(true);
        m_stream.next_layer().onTeardown = [this] { OnTeardown(); };
    }

    void Start()
    {
        EndAfter(m_limits.helloTime, "no hello in time");
        m_stream.async_accept([self = shared_from_this()](beast::error_code error) { self->OnAccepted(error); });
    }

    bool Send(std::shared_ptr<const std::string> text)
    {
        if (m_isClosing) {
            return true;
        }
        if (m_queue.size() >= m_limits.queuedFrames || m_queuedBytes + text->size() > m_limits.queuedBytes) {
            return false;
        }
        m_queuedBytes += text->size();
        m_queue.push_back(std::move(text));
        if (m_queue.size() == 1) {
            Write();
        }
        return true;
    }

    bool IsHalfFull() const
    {
        return m_queue.size() >= m_limits.queuedFrames / 2 || m_queuedBytes >= m_limits.queuedBytes / 2;
    }

    void Close(CloseCode code, const std::string& reason)
    {
        if (m_isClosing) {
            return;
        }
        m_isClosing = true;
        EndAfter(m_limits.closeTime, "closed");
        if (!m_isAccepted) {
            asio::post(m_stream.get_executor(), [self = shared_from_this()] { self->End("closed"); });
            return;
        }
        // Goes out after the frame that is being written, if there is one.
        m_stream.async_close({static_cast<websocket::close_code>(code), CutUtf8(reason, kLongestReason)},
                             [self = shared_from_this()](beast::error_code /*error*/) { self->End("closed"); });
    }

    void Abandon()
    {
        m_hasEnded = true;
        Disconnect();
    }

private:
    void OnAccepted(beast::error_code error)
    {
        if (error) {
            End("no WebSocket handshake: " + error.message());
            return;
        }
        m_isAccepted = true;
        Read();
    }

    void Read()
    {
        m_stream.async_read(m_buffer, [self = shared_from_this()](beast::error_code error, std::size_t /*size*/) {
            self->OnRead(error);
        });
    }

    void OnRead(beast::error_code error)
    {
        if (error) {
            End(WhyItEnded(error));
            return;
        }
        const std::string text = beast::buffers_to_string(m_buffer.data());
        m_buffer.consume(m_buffer.size());
        if (m_buffer.capacity() > kBufferKept) {
            m_buffer.shrink_to_fit();
        }
        if (!m_isClosing && m_stream.got_binary()) {
            Close(CloseCode::kUnsupportedData, "frames are texts");
        }
        if (!m_isClosing) {
            m_deadline.expires_at(Clock::time_point::max());
            m_owner.OnFrame(m_client, text);
        }
        if (!m_hasEnded) {
            Read();
        }
    }

    void OnTeardown()
    {
        if (!m_isClosing && !m_hasEnded) {
            m_isClosing = true;
            EndAfter(m_limits.closeTime, "closed");
            m_owner.OnLeave(m_client);
        }
    }

    std::string WhyItEnded(beast::error_code error) const
    {
        if (error != websocket::error::closed) {
            return error.message();
        }
        const websocket::close_reason& reason = m_stream.reason();
        return "closed by the client, code " + std::to_string(reason.code) +
               (reason.reason.empty() ? "" : " " + std::string(reason.reason.c_str()));
    }

    void Write()
    {
        m_stream.async_write(
            asio::buffer(*m_queue.front()),
            [self = shared_from_this()](beast::error_code error, std::size_t /*size*/) { self->OnWritten(error); });
    }

    void OnWritten(beast::error_code error)
    {
        if (m_isClosing) {
            return;
        }
        if (error) {
            // What is wrong with the connection, the operation that reads finds as well, and knows better.
            EndAfter(m_limits.closeTime, error.message());
            return;
        }
        m_queuedBytes -= m_queue.front()->size();
        m_queue.pop_front();
        if (!m_queue.empty()) {
            Write();
        }
    }

    void EndAfter(std::chrono::milliseconds time, const std::string& why)
    {
        m_deadline.expires_after(time);
        m_deadline.async_wait([self = shared_from_this(), why](beast::error_code error) {
            if (!error && self->m_deadline.expiry() <= Clock::now()) {
                self->End(why);
            }
        });
    }

    void Disconnect()
    {
        m_isClosing = true;
        m_deadline.cancel();
        beast::error_code ignored;
        m_stream.next_layer().close(ignored);
    }

    void End(const std::string& why)
    {
        if (!m_hasEnded) {
            m_hasEnded = true;
            Disconnect();
            m_owner.OnEnd(m_client, why);
        }
    }

    websocket::stream<Socket> m_stream;
    asio::steady_timer m_deadline;
    beast::flat_buffer m_buffer;
    const ClientNumber m_client;
    const ConnectionLimits m_limits;
    Owner& m_owner;
    std::deque<std::shared_ptr<const std::string>> m_queue; //!< Its first frame is being written.
    std::size_t m_queuedBytes = 0;
    bool m_isAccepted = false;
    bool m_isClosing = false;
    bool m_hasEnded = false;
};

Connection::Connection(boost::asio::io_context& context, FileDescriptor socket, ClientNumber client,
                       const ConnectionLimits& limits, Owner& owner)
    : m_implementation(std::make_shared<Implementation>(context, std::move(socket), client, limits, owner))
{
    m_implementation->Start();
}

Connection::~Connection()
{
    m_implementation->Abandon();
}

bool Connection::Send(std::shared_ptr<const std::string> text)
{
    return m_implementation->Send(std::move(text));
}

bool Connection::IsHalfFull() const
{
    return m_implementation->IsHalfFull();
}

void Connection::Close(CloseCode code, const std::string& reason)
{
    m_implementation->Close(code, reason);
}

} // namespace GatrixGateway
