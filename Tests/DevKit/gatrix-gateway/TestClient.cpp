#include "TestClient.h"

#include <gtest/gtest.h>

#include <boost/beast/core/buffers_to_string.hpp>

#include <memory>
#include <optional>

#include "Deadline.h"

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
namespace Wire = Gatrix::Wire;
using boost::system::error_code;

TestClient::TestClient(std::uint16_t port, const std::string& name, const char* address) : m_stream(m_context)
{
    Socket().connect({asio::ip::make_address(address), port});
    const error_code error = Await(
        [&](Handler done) { m_stream.async_handshake("localhost", "/", [done](error_code ec) { done(ec, 0); }); });
    EXPECT_FALSE(error) << error.message();
    m_stream.auto_fragment(false);
    Socket().set_option(asio::ip::tcp::no_delay(true));
    if (!name.empty()) {
        Send(Wire::Hello{name, "linux"});
    }
}

void TestClient::Send(const std::string& text, bool isBinary)
{
    m_stream.binary(isBinary);
    Await([&](Handler done) { m_stream.async_write(asio::buffer(text), done); });
}

std::string TestClient::Read()
{
    m_buffer.clear();
    const error_code error = Await([&](Handler done) { m_stream.async_read(m_buffer, done); });
    if (error == websocket::error::closed) {
        return "closed " + std::to_string(m_stream.reason().code) + " " + m_stream.reason().reason.c_str();
    }
    return error ? error.message() : boost::beast::buffers_to_string(m_buffer.data());
}

void TestClient::Handle(const std::string& endpoint)
{
    Send(Wire::Register{Gatrix::Method::GET, endpoint, 1, "g"});
    Send(Wire::Interest{{endpoint}});
    EXPECT_EQ(Read(), Wire::Serialize(Wire::Ready{{endpoint}}));
}

std::string TestClient::Ask(const std::string& endpoint, const std::string& body, std::uint64_t id)
{
    Send(Wire::Request{id, Gatrix::Method::GET, endpoint, 1, body});
    return Read();
}

bool TestClient::AnswerWithBody()
{
    try {
        const Wire::Frame frame = Wire::Parse(Read());
        const auto* const request = std::get_if<Wire::Request>(&frame);
        if (request != nullptr) {
            Send(Wire::Answer{request->id, request->body});
        }
        return request != nullptr;
    } catch (const Wire::FrameError&) {
        return false;
    }
}

error_code TestClient::Await(const std::function<void(Handler)>& start)
{
    // Outlives an operation that takes too long.
    const auto result = std::make_shared<std::optional<error_code>>();
    start([result](error_code error, std::size_t /*size*/) { *result = error; });
    m_context.restart();
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!*result && m_context.run_one_until(end) != 0) {
    }
    EXPECT_TRUE(result->has_value()) << "the gateway does not go on";
    return result->value_or(asio::error::timed_out);
}
