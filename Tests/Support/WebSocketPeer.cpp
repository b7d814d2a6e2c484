#include "WebSocketPeer.h"

#include "Deadline.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <gtest/gtest.h>

#include <optional>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using Tcp = asio::ip::tcp;

struct WebSocketPeer::State
{
    asio::io_context context{1};
    Tcp::acceptor acceptor{context};
    std::optional<websocket::stream<Tcp::socket, false>> stream;

    Tcp::socket& Socket() { return stream->next_layer(); }

    /** Has an operation begin with the handler that it is to call, and waits for it. Its error, or a timeout. */
    template <class Begin>
    beast::error_code Await(Begin begin)
    {
        beast::error_code outcome = asio::error::timed_out;
        begin([&outcome](const beast::error_code& error, auto...) { outcome = error; });
        context.restart();
        context.run_for(kDeadline);
        return outcome;
    }

    void TakeConnection()
    {
        stream.emplace(context);
        Await([this](auto done) { acceptor.async_accept(Socket(), done); });
    }
};

WebSocketPeer::WebSocketPeer() : m_state(std::make_unique<State>()) {}

WebSocketPeer::~WebSocketPeer() = default;

void WebSocketPeer::Connect(std::uint16_t port, const char* address)
{
    m_state->stream.emplace(m_state->context);
    m_state->Socket().connect({asio::ip::make_address(address), port});
    m_state->Socket().set_option(Tcp::no_delay(true));
}

void WebSocketPeer::ShakeHands()
{
    EXPECT_FALSE(m_state->Await([this](auto done) { m_state->stream->async_handshake("localhost", "/", done); }));
    m_state->stream->auto_fragment(false);
}

void WebSocketPeer::Listen(std::uint16_t port)
{
    m_state->acceptor = Tcp::acceptor(m_state->context, Tcp::endpoint(asio::ip::address_v4::loopback(), port));
}

std::uint16_t WebSocketPeer::Port() const
{
    return m_state->acceptor.local_endpoint().port();
}

std::string WebSocketPeer::Accept()
{
    m_state->TakeConnection();
    m_state->Await([this](auto done) { m_state->stream->async_accept(done); });
    return Read();
}

void WebSocketPeer::AcceptAndSay(const std::string& bytes)
{
    m_state->TakeConnection();
    asio::streambuf head;
    m_state->Await([&](auto done) { asio::async_read_until(m_state->Socket(), head, "\r\n\r\n", done); });
    SendRaw(bytes);
}

void WebSocketPeer::Send(const std::string& payload, bool isText)
{
    m_state->stream->text(isText);
    m_state->Await([&](auto done) { m_state->stream->async_write(asio::buffer(payload), done); });
}

void WebSocketPeer::SendRaw(const std::string& bytes)
{
    m_state->Await([&](auto done) { asio::async_write(m_state->Socket(), asio::buffer(bytes), done); });
}

std::string WebSocketPeer::Read()
{
    beast::flat_buffer buffer;
    const auto error = m_state->Await([&](auto done) { m_state->stream->async_read(buffer, done); });
    if (error == websocket::error::closed) {
        const websocket::close_reason& reason = m_state->stream->reason();
        return "closed " + std::to_string(reason.code) + " " + reason.reason.c_str();
    }
    return error ? error.message() : beast::buffers_to_string(buffer.data());
}
