#include "GatrixConnection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <cerrno>
#include <deque>
#include <optional>
#include <utility>

#include "FileDescriptor.h"
#include "GatrixWire.h"

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

namespace Gatrix
{
namespace
{
using Tcp = asio::ip::tcp;
using Executor = asio::io_context::executor_type;
using Resolver = asio::ip::basic_resolver<Tcp, Executor>;
using Stream = websocket::stream<asio::basic_stream_socket<Tcp, Executor>>;

constexpr std::size_t kWriteBufferBytes = std::size_t{64} * 1024;
constexpr std::size_t kKeptBufferBytes = std::size_t{64} * 1024;

/** A socket that a dead peer does not keep open for much longer than a minute; empty, with errno set, on failure. */
FileDescriptor OpenSocket(int family)
{
    struct Option
    {
        int level, name, value;
    };
    static constexpr Option kOptions[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1}, {IPPROTO_TCP, TCP_KEEPIDLE, 30}, {IPPROTO_TCP, TCP_KEEPINTVL, 10},
        {IPPROTO_TCP, TCP_KEEPCNT, 3}, {IPPROTO_TCP, TCP_NODELAY, 1},   {IPPROTO_TCP, TCP_USER_TIMEOUT, 60'000},
    };
    FileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    for (const Option& option : kOptions) {
        if (socket && ::setsockopt(socket.Get(), option.level, option.name, &option.value, sizeof option.value) != 0) {
            const int error = errno;
            socket.Reset();
            errno = error;
        }
    }
    return socket;
}

std::string ReasonOf(const beast::error_code& error, const Stream& stream)
{
    if (error != websocket::error::closed) {
        return error.message();
    }
    const websocket::close_reason& reason = stream.reason();
    return "closed by the gateway with " + std::to_string(reason.code) + " '" + reason.reason.c_str() + "'";
}
} // namespace

/** Its pending operations keep it alive; without an observer it is at its end. */
class GatrixConnection::Session : public std::enable_shared_from_this<Session>
{
public:
    Session(EventLoop& loop, Observer& observer, Target target)
        : m_context(loop.Context()),
          m_target(std::move(target)),
          m_observer(&observer),
          m_resolver(m_context),
          m_limit(loop.Context())
    {}

    void Start()
    {
        m_limit.Set(Alarm::Clock::now() + m_target.limit, [this] {
            const auto self = shared_from_this();
            End("not answered within " + std::to_string(m_target.limit.count()) + " ms");
        });
        m_resolver.async_resolve(
            m_target.host, std::to_string(m_target.port),
            [self = shared_from_this()](const beast::error_code& error, const Resolver::results_type& addresses) {
                self->OnResolved(error, addresses);
            });
    }

    bool Send(std::string frame)
    {
        if (m_waitingBytes + frame.size() > kMaxWaitingBytes) {
            return false;
        }
        m_waitingBytes += frame.size();
        m_waiting.push_back(std::move(frame));
        if (m_waiting.size() == 1) {
            WriteFirst();
        }
        return true;
    }

    void Finish()
    {
        m_isFinishing = true;
        if (m_waiting.empty()) {
            Close();
        }
    }

    /** Ends the connection without a word. */
    Observer* Abandon() noexcept
    {
        m_limit.Cancel();
        if (m_stream) {
            beast::error_code ignored;
            m_stream->next_layer().close(ignored);
        }
        return std::exchange(m_observer, nullptr);
    }

private:
    void End(const std::string& reason)
    {
        if (Observer* const observer = Abandon()) {
            observer->OnDown(reason);
        }
    }

    void OnResolved(const beast::error_code& error, const Resolver::results_type& addresses)
    {
        m_reason = error.message();
        for (const auto& address : addresses) {
            m_addresses.push_back(address.endpoint());
        }
        TryNextAddress();
    }

    void TryNextAddress()
    {
        while (m_observer != nullptr && !m_addresses.empty()) {
            const Tcp::endpoint address = m_addresses.front();
            m_addresses.pop_front();
            FileDescriptor socket = OpenSocket(address.protocol().family());
            if (!socket) {
                m_reason = beast::error_code(errno, boost::system::generic_category()).message();
                continue;
            }
            m_stream.emplace(m_context);
            m_stream->next_layer().assign(address.protocol(), socket.Get());
            socket.Release();
            m_stream->next_layer().async_connect(
                address, [self = shared_from_this()](const beast::error_code& error) { self->OnConnected(error); });
            return;
        }
        End(m_reason);
    }

    void OnConnected(const beast::error_code& error)
    {
        if (m_observer == nullptr || error) {
            m_reason = error.message();
            TryNextAddress();
            return;
        }
        // No timeouts of Beast's: they would wake this thread up again and again.
        m_stream->set_option(
            websocket::stream_base::timeout{websocket::stream_base::none(), websocket::stream_base::none(), false});
        m_stream->read_message_max(Wire::kMaxFrameBytes);
        m_stream->auto_fragment(false);
        m_stream->write_buffer_bytes(kWriteBufferBytes);
        m_stream->text(true);
        const bool isIPv6 = m_target.host.find(':') != std::string::npos;
        const std::string host = isIPv6 ? "[" + m_target.host + "]" : m_target.host;
        m_stream->async_handshake(
            host + ":" + std::to_string(m_target.port), "/",
            [self = shared_from_this()](const beast::error_code& outcome) { self->OnHandshake(outcome); });
    }

    void OnHandshake(const beast::error_code& error)
    {
        if (m_observer == nullptr || error) {
            m_reason = error.message();
            TryNextAddress();
            return;
        }
        Send(m_target.firstFrame);
    }

    void WriteFirst()
    {
        m_stream->async_write(asio::buffer(m_waiting.front()),
                              [self = shared_from_this()](const beast::error_code& error, std::size_t /*all of it*/) {
                                  self->OnWritten(error);
                              });
    }

    void OnWritten(const beast::error_code& error)
    {
        if (m_observer == nullptr || error) {
            End(ReasonOf(error, *m_stream));
            return;
        }
        m_waitingBytes -= m_waiting.front().size();
        m_waiting.pop_front();
        if (!std::exchange(m_isUp, true)) {
            m_limit.Cancel();
            Read();
            m_observer->OnUp();
        }
        if (m_observer == nullptr) {
            return;
        }
        if (!m_waiting.empty()) {
            WriteFirst();
        } else if (m_isFinishing) {
            Close();
        }
    }

    void Read()
    {
        m_stream->async_read(
            m_buffer, [self = shared_from_this()](const beast::error_code& error, std::size_t /*in the buffer*/) {
                self->OnRead(error);
            });
    }

    void OnRead(const beast::error_code& error)
    {
        if (m_observer == nullptr || error) {
            End(ReasonOf(error, *m_stream));
            return;
        }
        const std::string payload = beast::buffers_to_string(m_buffer.data());
        m_buffer.consume(m_buffer.size());
        if (m_buffer.capacity() > kKeptBufferBytes) {
            m_buffer.shrink_to_fit();
        }
        m_observer->OnMessage(payload, m_stream->got_text());
        if (m_observer != nullptr) {
            Read();
        }
    }

    void Close()
    {
        m_stream->async_close(websocket::close_code::normal,
                              [self = shared_from_this()](const beast::error_code& /*it is closed anyway*/) {
                                  self->End("closed by this side");
                              });
    }

    asio::io_context& m_context;
    const Target m_target;
    Observer* m_observer;
    Resolver m_resolver;
    /** Of the time to connect. */
    Alarm m_limit;
    std::deque<Tcp::endpoint> m_addresses;
    /** Why the latest address did not do. */
    std::string m_reason;
    std::optional<Stream> m_stream;
    bool m_isUp = false;
    bool m_isFinishing = false;
    beast::flat_buffer m_buffer;
    /** The first of them is being written. */
    std::deque<std::string> m_waiting;
    std::size_t m_waitingBytes = 0;
};

GatrixConnection::GatrixConnection(EventLoop& loop, Observer& observer, Target target)
    : m_session(std::make_shared<Session>(loop, observer, std::move(target)))
{
    m_session->Start();
}

GatrixConnection::~GatrixConnection()
{
    m_session->Abandon();
}

bool GatrixConnection::Send(std::string frame)
{
    return m_session->Send(std::move(frame));
}

void GatrixConnection::Finish()
{
    m_session->Finish();
}
} // namespace Gatrix
