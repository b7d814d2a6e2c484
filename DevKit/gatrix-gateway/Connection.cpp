#include "Connection.h"

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <chrono>
#include <deque>
#include <utility>

#include "GatrixWire.h"
#include "Utf8Text.h"

namespace GatrixGateway
{

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kBufferKept = std::size_t{64} * 1024;
constexpr std::size_t kDrained = std::size_t{16} * 1024;

/** A socket of which the WebSocket layer leaves the end to us. A peer that vanished without a word is noticed by the
 *  kernel within a minute (tcp(7)). */
struct Socket : tcp::socket
{
    explicit Socket(tcp::socket socket) : tcp::socket(std::move(socket))
    {
        const std::pair<int, int> options[] = {
            {TCP_NODELAY, 1}, {TCP_KEEPIDLE, 30}, {TCP_KEEPINTVL, 10}, {TCP_KEEPCNT, 3}};
        set_option(keep_alive(true));
        for (const auto& [name, value] : options) {
            setsockopt(native_handle(), IPPROTO_TCP, name, &value, sizeof value);
        }
    }
};

/** What that layer calls (under this name) after the last frame. Its own would wait, for ever, for the client to close.
 */
template <typename Handler>
void async_teardown(beast::role_type /*role*/, Socket& socket, Handler&& handler)
{
    asio::post(socket.get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), beast::error_code()));
}

/** A close frame as servers send it (RFC 6455, sections 5.2 and 5.5.1). */
std::string CloseFrame(CloseCode code, const std::string& reason)
{
    constexpr char kFinalClose = '\x88';
    constexpr unsigned kByteBits = 8;
    const auto number = static_cast<unsigned>(code);
    const std::string text(Utf8Text::Cut(reason, Gatrix::Wire::kMaxReasonBytes));
    return std::string{kFinalClose, static_cast<char>(text.size() + 2), static_cast<char>(number >> kByteBits),
                       static_cast<char>(number)} +
           text;
}

/** Operations that wait keep it alive. */
class Session final : public Connection, public std::enable_shared_from_this<Session>
{
    using Step = void (Session::*)(beast::error_code error);

    /** A handler that goes on with a step. */
    auto Then(Step step)
    {
        return
            [self = shared_from_this(), step](beast::error_code error, auto&&... /*sizes*/) { ((*self).*step)(error); };
    }

public:
    Session(tcp::socket socket, ClientNumber client, const ConnectionLimits& limits, Owner& owner)
        : m_stream(Socket(std::move(socket))),
          m_deadline(m_stream.get_executor()),
          m_client(client),
          m_limits(limits),
          m_owner(owner)
    {
        m_stream.read_message_max(Gatrix::Wire::kMaxFrameBytes);
        m_stream.auto_fragment(false);
        m_stream.text(true);
    }

    void Start()
    {
        EndAfter(m_limits.helloTime);
        m_stream.async_accept(Then(&Session::OnAccepted));
    }

    bool Send(std::shared_ptr<const std::string> text) override
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

    bool IsHalfFull() const override
    {
        return m_queue.size() >= m_limits.queuedFrames / 2 || m_queuedBytes >= m_limits.queuedBytes / 2;
    }

    void Close(CloseCode code, const std::string& reason) override
    {
        if (std::exchange(m_isClosing, true)) {
            return;
        }
        EndAfter(m_limits.closeTime);
        if (!m_isAccepted) {
            asio::post(m_stream.get_executor(), [self = shared_from_this()] { self->End(); });
            return;
        }
        m_closeFrame = CloseFrame(code, reason);
        if (m_queue.empty()) {
            WriteClose();
        }
    }

private:
    void OnAccepted(beast::error_code error)
    {
        if (error) {
            Leave("no WebSocket handshake: " + error.message());
            return;
        }
        m_isAccepted = true;
        Read();
    }

    void Read() { m_stream.async_read(m_buffer, Then(&Session::OnRead)); }

    void OnRead(beast::error_code error)
    {
        if (error) {
            Leave(WhyItEnded(error));
            return;
        }
        const std::string text = beast::buffers_to_string(m_buffer.data());
        m_buffer.consume(m_buffer.size());
        if (m_buffer.capacity() > kBufferKept) {
            m_buffer.shrink_to_fit();
        }
        if (!m_isClosing && m_stream.got_binary()) {
            Close(CloseCode::kUnsupportedData, "frames are texts");
            m_owner.OnLeave(m_client, "a frame that is no text");
        }
        if (!m_isClosing) {
            m_deadline.expires_at(Clock::time_point::max());
            m_owner.OnFrame(m_client, text);
        }
        if (!m_hasEnded) {
            Read();
        }
    }

    /** The client closed, or broke the protocol and has been told so. */
    void Leave(const std::string& why)
    {
        if (!std::exchange(m_isClosing, true)) {
            EndAfter(m_limits.closeTime);
            ShutDown({});
            m_owner.OnLeave(m_client, why);
        }
        Drain();
    }

    void ShutDown(beast::error_code error) { m_stream.next_layer().shutdown(tcp::socket::shutdown_send, error); }

    /**
     * Closing with unread data pending would reset the connection and lose the close frame on its way. Waits before it
     * reads: an operation that reads where an earlier one met the end is not woken again.
     */
    void Drain()
    {
        if (!m_hasEnded) {
            m_stream.next_layer().async_wait(Socket::wait_read, Then(&Session::OnDrainable));
        }
    }

    void OnDrainable(beast::error_code error)
    {
        Socket& socket = m_stream.next_layer();
        if (!error) {
            socket.non_blocking(true, error);
        }
        if (!error) {
            socket.read_some(m_buffer.prepare(kDrained), error);
        }
        if (error && error != asio::error::would_block) {
            End();
        } else {
            Drain();
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

    void Write() { m_stream.async_write(asio::buffer(*m_queue.front()), Then(&Session::OnWritten)); }

    void OnWritten(beast::error_code error)
    {
        if (error) {
            return; // what is wrong with the connection, the operation that reads finds as well, and knows better
        }
        m_queuedBytes -= m_queue.front()->size();
        m_queue.pop_front();
        if (!m_closeFrame.empty()) {
            WriteClose();
        } else if (!m_queue.empty()) {
            Write();
        }
    }

    /**
     * Bypasses the WebSocket layer, whose operation that closes and whose operation that reads may wait for each other
     * without end when the client breaks the protocol meanwhile.
     */
    void WriteClose()
    {
        asio::async_write(m_stream.next_layer(), asio::buffer(m_closeFrame), Then(&Session::ShutDown));
    }

    void EndAfter(std::chrono::milliseconds time)
    {
        m_deadline.expires_after(time);
        m_deadline.async_wait(Then(&Session::OnDeadline));
    }

    void OnDeadline(beast::error_code error)
    {
        if (error || m_deadline.expiry() > Clock::now()) {
            return;
        }
        if (!std::exchange(m_isClosing, true)) {
            m_owner.OnLeave(m_client, "no hello in time");
        }
        End();
    }

    void End()
    {
        if (!std::exchange(m_hasEnded, true)) {
            m_deadline.cancel();
            beast::error_code ignored;
            m_stream.next_layer().close(ignored);
            m_owner.OnEnd(m_client);
        }
    }

    websocket::stream<Socket> m_stream;
    asio::steady_timer m_deadline;
    beast::flat_buffer m_buffer;
    const ClientNumber m_client;
    const ConnectionLimits m_limits;
    Owner& m_owner;
    std::deque<std::shared_ptr<const std::string>> m_queue; ///< Its first frame is being written.
    std::size_t m_queuedBytes = 0;
    std::string m_closeFrame; ///< To be sent, or sent; empty before.
    bool m_isAccepted = false;
    bool m_isClosing = false;
    bool m_hasEnded = false;
};

} // namespace

std::shared_ptr<Connection> Connection::Open(tcp::socket socket, ClientNumber client, const ConnectionLimits& limits,
                                             Owner& owner)
{
    auto session = std::make_shared<Session>(std::move(socket), client, limits, owner);
    session->Start();
    return session;
}

} // namespace GatrixGateway
