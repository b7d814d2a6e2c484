#include "Connection.h"

#include "LoopbackListener.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <string>

namespace DiagCloud
{

namespace
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Parser = http::request_parser<http::buffer_body>;

constexpr std::uint32_t kHeaderLimit = 64 * 1024; // tokens are long
constexpr std::size_t kBodyChunk = std::size_t{64} * 1024;
constexpr std::uint64_t kLongestDrain = std::uint64_t{64} * 1024 * 1024;
constexpr std::chrono::seconds kDrainTime{2};
constexpr int kBadRequest = 400;
constexpr int kTooLarge = 413;
constexpr int kHeaderTooLarge = 431;

std::string Serialize(const Answer& answer, bool keepAlive, bool withBody)
{
    http::response<http::string_body> response;
    response.version(11);
    response.result(static_cast<unsigned>(answer.status));
    for (const auto& [name, value] : answer.headers) {
        response.insert(name, value);
    }
    const bool bodyless =
        response.result() == http::status::no_content || response.result() == http::status::not_modified;
    if (!bodyless && response.find(http::field::content_length) == response.end()) {
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
        return kTooLarge;
    }
    return error == http::error::header_limit ? kHeaderTooLarge : kBadRequest;
}

bool IsProtocolError(beast::error_code error)
{
    return error.category() == http::make_error_code(http::error::bad_version).category() &&
           error != http::error::end_of_stream && error != http::error::partial_message;
}

} // namespace

/**
 * The operations are asynchronous ones, each waited for: unlike the synchronous ones they have time limits, and Cancel
 * reaches them.
 */
class Connection::Implementation
{
public:
    Implementation(FileDescriptor socket, Cloud& cloud, const ConnectionLimits& limits)
        : m_work(asio::make_work_guard(m_context)),
          m_stream(m_context),
          m_timer(m_context),
          m_cloud(cloud),
          m_limits(limits)
    {
        const bool six = IsIPv6(socket);
        beast::error_code ignored;
        m_stream.socket().assign(six ? asio::ip::tcp::v6() : asio::ip::tcp::v4(), socket.Release(), ignored);
        m_stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
        m_buffer.reserve(kBodyChunk); // or it is filled by a few hundred bytes at a time
    }

    void Run()
    {
        while (!m_cancelled && ServeRequest()) {
        }
        m_stream.close();
    }

    void Cancel()
    {
        asio::post(m_context, [this] {
            m_cancelled = true;
            m_stream.close();
            m_timer.cancel();
        });
    }

private:
    /** Starts an operation that takes a handler, and runs until it has ended. */
    template <typename Start>
    beast::error_code Await(Start start)
    {
        std::optional<beast::error_code> result;
        start([&result](beast::error_code error, auto&&... /*sizes*/) { result = error; });
        while (!result) {
            m_context.run_one();
        }
        return *result;
    }

    bool ServeRequest()
    {
        Parser parser;
        parser.header_limit(kHeaderLimit);
        parser.body_limit(m_limits.bodySize);
        m_stream.expires_after(m_limits.idleTime);
        const auto error = Await([&](auto handler) { http::async_read_header(m_stream, m_buffer, parser, handler); });
        if (error) {
            if (IsProtocolError(error)) {
                Refuse(error);
            }
            return false;
        }

        const auto& request = parser.get();
        Headers headers;
        for (const auto& field : request) {
            headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
        }
        const bool continues = beast::iequals(request[http::field::expect], "100-continue");
        Exchange exchange(m_cloud, std::string(request.method_string()), std::string(request.target()),
                          std::move(headers));
        if (!ReadBody(parser, exchange, continues)) {
            return false;
        }
        return Send(exchange.Finish(), parser.keep_alive(), request.method() != http::verb::head);
    }

    bool ReadBody(Parser& parser, Exchange& exchange, bool continues)
    {
        const std::optional<std::uint64_t> resetAt = exchange.ResetAfterRequestBytes();
        std::uint64_t total = 0;
        if (continues && resetAt != std::uint64_t{0}) {
            Write("HTTP/1.1 100 Continue\r\n\r\n");
        }
        std::array<char, kBodyChunk> chunk;
        while (!parser.is_done() && (!resetAt || total < *resetAt)) {
            const std::uint64_t wanted =
                resetAt ? std::min<std::uint64_t>(chunk.size(), *resetAt - total) : chunk.size();
            auto& body = parser.get().body();
            body.data = chunk.data();
            body.size = static_cast<std::size_t>(wanted);
            m_stream.expires_after(m_limits.stallTime);
            const auto error = Await([&](auto handler) { http::async_read_some(m_stream, m_buffer, parser, handler); });
            const std::size_t got = static_cast<std::size_t>(wanted) - body.size;
            exchange.Receive(chunk.data(), got);
            total += got;
            if (error && error != http::error::need_buffer) {
                const bool wrong = IsProtocolError(error);
                exchange.Lose(wrong ? std::to_string(StatusOf(error)) + " " + error.message()
                                    : "no answer: the request did not arrive whole");
                if (wrong) {
                    Send(ErrorAnswer(error), false, true);
                    Drain();
                }
                return false;
            }
        }
        if (resetAt) {
            exchange.Lose("connection reset after " + std::to_string(total) + " bytes of the body (scripted)");
            Reset();
            return false;
        }
        return true;
    }

    bool Send(const Answer& answer, bool keepAlive, bool withBody)
    {
        if (answer.hang) {
            WaitForEnd();
            return false;
        }
        if (answer.delay.count() > 0) {
            m_timer.expires_after(answer.delay);
            Await([&](auto handler) { m_timer.async_wait(handler); });
        }
        keepAlive = keepAlive && !beast::iequals(FindHeader(answer.headers, "Connection"), "close");
        std::string text = Serialize(answer, keepAlive, withBody);
        if (answer.resetAfterBytes) {
            text.resize(static_cast<std::size_t>(std::min<std::uint64_t>(*answer.resetAfterBytes, text.size())));
            Write(text);
            Reset();
            return false;
        }
        return Write(text) && keepAlive;
    }

    bool Write(const std::string& text)
    {
        m_stream.expires_after(m_limits.stallTime);
        return !m_cancelled && !Await([&](auto handler) { asio::async_write(m_stream, asio::buffer(text), handler); });
    }

    static Answer ErrorAnswer(beast::error_code error)
    {
        Answer answer;
        answer.status = StatusOf(error);
        answer.headers = {{"Content-Type", "application/json"}};
        answer.body = R"({"error":")" + error.message() + R"("})";
        return answer;
    }

    void Refuse(beast::error_code error)
    {
        m_cloud.log.Print("a request without sense -> " + std::to_string(StatusOf(error)) + " " + error.message());
        Send(ErrorAnswer(error), false, true);
        Drain();
    }

    /** Closing with unread data pending would reset the connection and lose the answer on its way. */
    void Drain()
    {
        beast::error_code error;
        m_stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, error);
        m_stream.expires_after(kDrainTime);
        std::array<char, kBodyChunk> chunk;
        for (std::uint64_t total = 0; !error && total < kLongestDrain; total += chunk.size()) {
            error = Await([&](auto handler) { m_stream.async_read_some(asio::buffer(chunk), handler); });
        }
    }

    void WaitForEnd()
    {
        m_stream.expires_never();
        std::array<char, kBodyChunk> chunk;
        beast::error_code error;
        while (!error && !m_cancelled) {
            error = Await([&](auto handler) { m_stream.async_read_some(asio::buffer(chunk), handler); });
        }
    }

    void Reset()
    {
        beast::error_code ignored;
        m_stream.socket().set_option(asio::socket_base::linger(true, 0), ignored);
        m_stream.close();
    }

    asio::io_context m_context{1};
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    beast::tcp_stream m_stream;
    asio::steady_timer m_timer;
    beast::flat_buffer m_buffer;
    Cloud& m_cloud;
    ConnectionLimits m_limits;
    bool m_cancelled = false;
};

Connection::Connection(FileDescriptor socket, Cloud& cloud, const ConnectionLimits& limits)
    : m_implementation(std::make_unique<Implementation>(std::move(socket), cloud, limits))
{}

Connection::~Connection() = default;

void Connection::Run()
{
    m_implementation->Run();
}

void Connection::Cancel()
{
    m_implementation->Cancel();
}

} // namespace DiagCloud
