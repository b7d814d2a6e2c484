#include "TestClient.h"

#include <gtest/gtest.h>

#include <boost/beast/core/buffers_to_string.hpp>

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
namespace Wire = Gatrix::Wire;

TestClient::TestClient(std::uint16_t port, const std::string& name, const char* address)
{
    m_stream.next_layer().connect({asio::ip::make_address(address), port});
    m_stream.next_layer().set_option(asio::ip::tcp::no_delay(true));
    m_stream.handshake("localhost", "/");
    m_stream.auto_fragment(false);
    if (!name.empty()) {
        Send(Wire::Hello{name, "linux"});
    }
}

void TestClient::Send(const std::string& text)
{
    boost::system::error_code ignored; // what ended the connection, Read tells
    m_stream.write(asio::buffer(text), ignored);
}

std::string TestClient::Read()
{
    boost::beast::flat_buffer buffer;
    boost::system::error_code error;
    m_stream.read(buffer, error);
    if (error == websocket::error::closed) {
        return "closed " + std::to_string(m_stream.reason().code) + " " + m_stream.reason().reason.c_str();
    }
    return error ? error.message() : boost::beast::buffers_to_string(buffer.data());
}

void TestClient::Handle(const std::string& endpoint)
{
    Send(Wire::Register{Gatrix::Method::GET, endpoint, 1, "g"});
    Send(Wire::Interest{{endpoint}});
    EXPECT_EQ(Read(), Wire::Serialize(Wire::Ready{{endpoint}}));
}

void TestClient::Ask(std::uint64_t id, const std::string& endpoint, const std::string& body)
{
    Send(Wire::Request{id, Gatrix::Method::GET, endpoint, 1, body});
}

std::string TestClient::AnswerWithBody()
{
    std::string text = Read();
    const Wire::Request request = std::get<Wire::Request>(Wire::Parse(text));
    Send(Wire::Answer{request.id, request.body});
    return text;
}
