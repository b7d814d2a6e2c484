#include "WebSocketSession.h"

#include "Alarm.h"
#include "GatrixWire.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace Gatrix
{
namespace
{
using Tcp = asio::ip::tcp;
using Clock = Alarm::Clock;

constexpr std::size_t kWriteBufferBytes = std::size_t{64} * 1024;
constexpr std::size_t kKeptBufferBytes = std::size_t{64} * 1024;
constexpr std::size_t kDrainedBytes = std::size_t{16} * 1024;

// A socket of which the WebSocket layer leaves the end to its session.
struct Socket : asio::basic_stream_socket<Tcp, asio::io_context::executor_type>
{
    using basic_stream_socket::basic_stream_socket;
};

// What the WebSocket layer calls, under this name, after the last frame. Its own would wait, for ever, for the other
// side to close.
template <typename Handler>
void async_teardown(beast::role_type /*role*/, Socket& socket, Handler&& handler)
{
    asio::post(socket.get_executor(), beast::bind_front_handler(std::forward<Handler>(handler), beast::error_code()));
}

// Has the kernel notice a dead peer within about a minute.
void KeepAlive(const FileDescriptor& socket)
{
    struct Option
    {
        int level, name, value;
    };
    static constexpr Option kOptions[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1}, {IPPROTO_TCP, TCP_KEEPIDLE, 30}, {IPPROTO_TCP, TCP_KEEPINTVL, 10},
        {IPPROTO_TCP, TCP_KEEPCNT, 3}, {IPPROTO_TCP, TCP_NODELAY, 1},   {IPPROTO_TCP, TCP_USER_TIMEOUT, 60'000},
    };
    for (const Option& option : kOptions) {
        if (::setsockopt(socket.Get(), option.level, option.name, &option.value, sizeof option.value) != 0) {
            throw std::system_error(errno, std::generic_category(), "cannot use a connection");
        }
    }
}

// Its pending operations keep it alive. Without an owner it is being closed.
class Stream final : public WebSocketSession, public std::enable_shared_from_this<Stream>
{
    using Step = void (Stream::*)(beast::error_code error);

    // A handler that goes on with a step.
    auto Then(Step step)
    {
        return
            [self = shared_from_this(), step](beast::error_code error, auto&&... /*sizes*/) { ((*self).*step)(error); };
    }

public:
    Stream(asio::io_context& context, const FileDescriptor& socket, const Limits& limits, Owner& owner)
        // For a connected socket, the version of IP is of no consequence.
        : m_stream(context, Tcp::v4(), socket.Get()), m_deadline(context), m_limits(limits), m_owner(&owner)
    {
        m_stream.read_message_max(Wire::kMaxFrameBytes);
        m_stream.auto_fragment(false);
        m_stream.write_buffer_bytes(kWriteBufferBytes);
        m_stream.text(true);
    }

    void Connect(const std::string& host)
    {
        m_isClient = true;
        m_stream.async_handshake(host, "/", Then(&Stream::OnOpen));
    }

    void Accept() { m_stream.async_accept(Then(&Stream::OnOpen)); }

    void Detach()
    {
        m_owner = nullptr;
        if (!std::exchange(m_isClosing, true) || !m_isOpen) {
            End();
        }
    }

    bool Send(std::shared_ptr<const std::string> text) override
    {
        if (m_isClosing) {
            return true;
        }
        if (m_waiting.size() >= m_limits.waitingMessages || m_waitingBytes + text->size() > m_limits.waitingBytes) {
            return false;
        }
        m_waitingBytes += text->size();
        m_waiting.push_back(std::move(text));
        if (m_waiting.size() == 1) {
            Write();
        }
        return true;
    }

    bool IsHalfFull() const override
    {
        return m_waiting.size() >= m_limits.waitingMessages / 2 || m_waitingBytes >= m_limits.waitingBytes / 2;
    }

    void Close(CloseCode code, const std::string& reason) override
    {
        if (!m_isClosing) {
            EndAfter(m_limits.closeTime);
            m_waiting.resize(std::min(m_waiting.size(), std::size_t{1}));
            CloseBehindWaiting(code, reason);
        }
    }

    void Finish() override { CloseBehindWaiting(CloseCode::Normal, ""); }

private:
    void CloseBehindWaiting(CloseCode code, const std::string& reason)
    {
        if (std::exchange(m_isClosing, true)) {
            return;
        }
        if (!m_isOpen) {
            asio::post(m_stream.get_executor(), [self = shared_from_this()] { self->End(); });
            return;
        }
        m_closeFrame = CloseFrame(code, reason, m_isClient);
        if (m_waiting.empty()) {
            WriteClose();
        }
    }

    void OnOpen(beast::error_code error)
    {
        if (error) {
            Leave(error);
            return;
        }
        m_isOpen = true;
        if (!m_isClosing) {
            m_owner->OnOpen();
        }
        Read();
    }

    void Read()
    {
        if (!m_hasEnded) {
            m_stream.async_read(m_buffer, Then(&Stream::OnRead));
        }
    }

    void OnRead(beast::error_code error)
    {
        if (error) {
            Leave(error);
            return;
        }
        const std::string payload = beast::buffers_to_string(m_buffer.data());
        m_buffer.consume(m_buffer.size());
        if (m_buffer.capacity() > kKeptBufferBytes) {
            m_buffer.shrink_to_fit();
        }
        if (!m_isClosing) {
            m_owner->OnMessage(payload, m_stream.got_text());
        }
        Read();
    }

    // The other side closed, or broke the protocol and has been told so.
    void Leave(beast::error_code error)
    {
        if (!std::exchange(m_isClosing, true)) {
            EndAfter(m_limits.closeTime);
            ShutDown({});
            const websocket::close_reason& reason = m_stream.reason();
            if (error == websocket::error::closed) {
                m_owner->OnLeave(reason.code, reason.reason.c_str());
            } else {
                m_owner->OnLeave(std::nullopt, error.message());
            }
        }
        Drain();
    }

    void ShutDown(beast::error_code error) { m_stream.next_layer().shutdown(Socket::shutdown_send, error); }

    // Closing with unread data pending would reset the connection and lose the close frame on its way. Waits before it
    // reads: an operation that reads where an earlier one met the end is not woken again.
    void Drain()
    {
        if (!m_hasEnded) {
            m_stream.next_layer().async_wait(Socket::wait_read, Then(&Stream::OnDrainable));
        }
    }

    void OnDrainable(beast::error_code error)
    {
        Socket& socket = m_stream.next_layer();
        if (!error) {
            socket.non_blocking(true, error);
        }
        if (!error) {
            socket.read_some(m_buffer.prepare(kDrainedBytes), error);
        }
        if (error && error != asio::error::would_block) {
            End();
        } else {
            Drain();
        }
    }

    void Write() { m_stream.async_write(asio::buffer(*m_waiting.front()), Then(&Stream::OnWritten)); }

    void OnWritten(beast::error_code error)
    {
        if (error) {
            // Ends the operation that reads, which may know a better reason: the other side's, if that closed.
            m_stream.next_layer().shutdown(Socket::shutdown_both, error);
            return;
        }
        m_waitingBytes -= m_waiting.front()->size();
        m_waiting.pop_front();
        if (!m_waiting.empty()) {
            Write();
        } else if (!m_closeFrame.empty()) {
            WriteClose();
        }
    }

    // Bypasses the WebSocket layer: when the other side breaks the protocol meanwhile, its closing operation and its
    // reading one may wait for each other without end.
    void WriteClose() { asio::async_write(m_stream.next_layer(), asio::buffer(m_closeFrame), Then(&Stream::ShutDown)); }

    void EndAfter(std::chrono::milliseconds time)
    {
        m_deadline.Set(Clock::now() + time, [this] {
            const auto self = shared_from_this();
            End();
        });
    }

    void End()
    {
        if (std::exchange(m_hasEnded, true)) {
            return;
        }
        m_deadline.Cancel();
        beast::error_code ignored;
        m_stream.next_layer().close(ignored);
        if (m_owner != nullptr) {
            m_owner->OnEnd();
        }
    }

    // Without compression, which this wire does not use.
    websocket::stream<Socket, false> m_stream;
    Alarm m_deadline;
    beast::flat_buffer m_buffer;
    const Limits m_limits;
    Owner* m_owner;
    // The first of them is being written.
    std::deque<std::shared_ptr<const std::string>> m_waiting;
    std::size_t m_waitingBytes = 0;
    // To be sent, or sent; empty before.
    std::string m_closeFrame;
    bool m_isClient = false;
    bool m_isOpen = false;
    bool m_isClosing = false;
    bool m_hasEnded = false;
};

std::shared_ptr<Stream> MakeStream(asio::io_context& context, FileDescriptor socket,
                                   const WebSocketSession::Limits& limits, WebSocketSession::Owner& owner)
{
    KeepAlive(socket);
    auto stream = std::make_shared<Stream>(context, socket, limits, owner);
    socket.Release();
    return stream;
}

std::shared_ptr<WebSocketSession> Detaching(const std::shared_ptr<Stream>& stream)
{
    return {stream.get(), [stream](WebSocketSession*) { stream->Detach(); }};
}

} // namespace

std::shared_ptr<WebSocketSession> WebSocketSession::Connect(asio::io_context& context, FileDescriptor socket,
                                                            const std::string& host, const Limits& limits, Owner& owner)
{
    const auto stream = MakeStream(context, std::move(socket), limits, owner);
    stream->Connect(host);
    return Detaching(stream);
}

std::shared_ptr<WebSocketSession> WebSocketSession::Accept(asio::io_context& context, FileDescriptor socket,
                                                           const Limits& limits, Owner& owner)
{
    const auto stream = MakeStream(context, std::move(socket), limits, owner);
    stream->Accept();
    return Detaching(stream);
}
} // namespace Gatrix
