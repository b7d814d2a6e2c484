#include "Connection.h"

#include "Exchange.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

namespace DiagCloud
{

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;

// Tokens are long.
constexpr std::uint32_t kHeaderLimit = 64 * 1024;
constexpr std::size_t kBodyChunk = std::size_t{64} * 1024;
constexpr std::uint64_t kLongestDrain = std::uint64_t{64} * 1024 * 1024;
constexpr std::chrono::seconds kDrainTime{2};
// From one answer until the whole header of the next request has arrived.
constexpr std::chrono::seconds kIdleTime{60};
// Until the next bytes of a body have arrived, or an answer is sent.
constexpr std::chrono::seconds kStallTime{30};

std::string Serialize(const Outcome& answer, bool keepAlive, bool withBody)
{
    http::response<http::string_body> response;
    response.version(11);
    response.result(static_cast<unsigned>(*answer.status));
    for (const auto& [name, value] : answer.headers) {
        response.insert(name, value);
    }
    const bool bodyless =
        response.result() == http::status::no_content || response.result() == http::status::not_modified;
    if (!bodyless && answer.headers.count("Content-Length") == 0) {
        response.content_length(answer.body.size());
    }
    response.keep_alive(keepAlive);
    std::ostringstream header;
    header << response.base();
    return header.str() + (withBody && !bodyless ? answer.body : "");
}

int StatusOf(beast::error_code error)
{
    if (error == http::error::body_limit) {
        return 413;
    }
    return error == http::error::header_limit ? 431 : 400;
}

bool IsProtocolError(beast::error_code error)
{
    return error.category() == http::make_error_code(http::error::bad_version).category() &&
           error != http::error::end_of_stream && error != http::error::partial_message;
}

// The operation that waits keeps the session alive; without one the session ends and closes its socket.
class Session : public std::enable_shared_from_this<Session>
{
    using Step = void (Session::*)(beast::error_code error);

    // A handler that goes on with a step.
    auto Then(Step step)
    {
        return
            [self = shared_from_this(), step](beast::error_code error, auto&&... /*sizes*/) { ((*self).*step)(error); };
    }

public:
    Session(tcp::socket socket, LoopbackServer::Seat seat, Cloud& cloud, std::uint64_t maxBodySize)
        : m_seat(std::move(seat)),
          m_stream(std::move(socket)),
          m_timer(m_stream.get_executor()),
          m_cloud(cloud),
          m_maxBodySize(maxBodySize)
    {
        m_stream.socket().set_option(tcp::no_delay(true));
        // Otherwise Beast fills it by a few hundred bytes at a time.
        m_buffer.reserve(kBodyChunk);
    }

    void ReadHeader()
    {
        m_parser.emplace();
        m_parser->header_limit(kHeaderLimit);
        m_parser->body_limit(m_maxBodySize);
        m_stream.expires_after(kIdleTime);
        http::async_read_header(m_stream, m_buffer, *m_parser, Then(&Session::OnHeader));
    }

private:
    void OnHeader(beast::error_code error)
    {
        if (IsProtocolError(error)) {
            m_cloud.log.Print("a request without sense -> " + std::to_string(StatusOf(error)) + " " + error.message());
            Refuse(error);
        }
        if (error) {
            return;
        }
        const auto& request = m_parser->get();
        Headers headers;
        for (const auto& field : request) {
            headers.emplace(field.name_string(), field.value());
        }
        m_exchange.emplace(m_cloud, std::string(request.method_string()), std::string(request.target()),
                           std::move(headers));
        const bool isAwaited = beast::iequals(request[http::field::expect], "100-continue");
        if (isAwaited && m_exchange->Scripted().resetAfterRequestBytes != std::uint64_t{0}) {
            m_text = "HTTP/1.1 100 Continue\r\n\r\n";
            Write(&Session::ReadBody);
        } else {
            ReadBody({});
        }
    }

    void ReadBody(beast::error_code error)
    {
        const std::uint64_t wanted =
            m_exchange->Scripted().resetAfterRequestBytes.value_or(std::numeric_limits<std::uint64_t>::max()) -
            m_exchange->BodySize();
        if (error || m_parser->is_done() || wanted == 0) {
            OnBodyEnd(error);
            return;
        }
        m_parser->get().body().data = m_chunk.data();
        m_parser->get().body().size = m_wanted = std::min<std::uint64_t>(m_chunk.size(), wanted);
        m_stream.expires_after(kStallTime);
        http::async_read_some(m_stream, m_buffer, *m_parser, Then(&Session::OnBody));
    }

    void OnBody(beast::error_code error)
    {
        m_exchange->Receive({m_chunk.data(), m_wanted - m_parser->get().body().size});
        ReadBody(error == http::error::need_buffer ? beast::error_code() : error);
    }

    void OnBodyEnd(beast::error_code error)
    {
        if (IsProtocolError(error)) {
            m_exchange->Lose(std::to_string(StatusOf(error)) + " " + error.message());
            Refuse(error);
        } else if (error) {
            m_exchange->Lose("no answer: the request did not arrive whole");
        } else if (m_exchange->Scripted().resetAfterRequestBytes) {
            m_exchange->Lose("connection reset after " + std::to_string(m_exchange->BodySize()) +
                             " bytes of the body (scripted)");
            Reset({});
        } else {
            m_answer = m_exchange->Finish();
            m_timer.expires_after(m_answer.delay);
            m_timer.async_wait(Then(&Session::Answer));
        }
    }

    void Answer(beast::error_code /*error*/)
    {
        if (m_answer.hang) {
            m_stream.expires_never();
            Discard({});
            return;
        }
        const auto connection = m_answer.headers.find("Connection");
        const bool keepAlive = m_parser->keep_alive() &&
                               (connection == m_answer.headers.end() || !beast::iequals(connection->second, "close"));
        m_text = Serialize(m_answer, keepAlive, m_parser->get().method() != http::verb::head);
        if (m_answer.resetAfterBytes) {
            m_text.resize(static_cast<std::size_t>(std::min<std::uint64_t>(*m_answer.resetAfterBytes, m_text.size())));
            Write(&Session::Reset);
        } else {
            Write(keepAlive ? &Session::OnAnswered : &Session::Close);
        }
    }

    void OnAnswered(beast::error_code error)
    {
        if (!error) {
            ReadHeader();
        }
    }

    void Refuse(beast::error_code why)
    {
        Outcome answer;
        answer.Refuse(StatusOf(why), why.message());
        m_text = Serialize(answer, false, true);
        m_left = kLongestDrain;
        Write(&Session::Drain);
    }

    // Closing with unread data pending would reset the connection and lose the answer on its way.
    void Drain(beast::error_code error)
    {
        m_stream.socket().shutdown(tcp::socket::shutdown_send, error);
        m_stream.expires_after(kDrainTime);
        Discard(error);
    }

    void Discard(beast::error_code error)
    {
        if (!error && m_left > 0) {
            m_left -= std::min<std::uint64_t>(m_left, m_chunk.size());
            m_stream.async_read_some(asio::buffer(m_chunk), Then(&Session::Discard));
        }
    }

    void Reset(beast::error_code error)
    {
        m_stream.socket().set_option(asio::socket_base::linger(true, 0), error);
        m_stream.close();
    }

    void Close(beast::error_code /*error*/) { m_stream.close(); }

    // Sends m_text.
    void Write(Step next)
    {
        m_stream.expires_after(kStallTime);
        asio::async_write(m_stream, asio::buffer(m_text), Then(next));
    }

    const LoopbackServer::Seat m_seat;
    beast::tcp_stream m_stream;
    asio::steady_timer m_timer;
    beast::flat_buffer m_buffer;
    Cloud& m_cloud;
    const std::uint64_t m_maxBodySize;
    std::optional<http::request_parser<http::buffer_body>> m_parser;
    std::optional<Exchange> m_exchange;
    std::array<char, kBodyChunk> m_chunk;
    // Bytes that the chunk was given to take.
    std::size_t m_wanted = 0;
    Outcome m_answer;
    // What is being sent.
    std::string m_text;
    // Bytes to discard.
    std::uint64_t m_left = std::numeric_limits<std::uint64_t>::max();
};

} // namespace

void Serve(asio::io_context& context, FileDescriptor socket, LoopbackServer::Seat seat, Cloud& cloud,
           std::uint64_t maxBodySize)
{
    // For a connected socket, the version of IP is of no consequence.
    tcp::socket connected(context, tcp::v4(), socket.Get());
    socket.Release();
    std::make_shared<Session>(std::move(connected), std::move(seat), cloud, maxBodySize)->ReadHeader();
}

} // namespace DiagCloud
