#include "ScriptedGateway.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <optional>

#include "Deadline.h"

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using Tcp = asio::ip::tcp;

struct ScriptedGateway::State
{
    explicit State(std::uint16_t port) : acceptor(context, Tcp::endpoint(asio::ip::address_v4::loopback(), port)) {}

    asio::io_context context{1};
    Tcp::acceptor acceptor;
    std::optional<websocket::stream<Tcp::socket>> stream;

    /** Waits for an operation; its error, which is a timeout when it did not come to an end. */
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
        Await([this](auto done) { acceptor.async_accept(stream->next_layer(), done); });
    }
};

ScriptedGateway::ScriptedGateway(std::uint16_t port) : m_state(std::make_unique<State>(port)) {}

ScriptedGateway::~ScriptedGateway() = default;

std::uint16_t ScriptedGateway::Port() const
{
    return m_state->acceptor.local_endpoint().port();
}

std::string ScriptedGateway::Accept()
{
    m_state->TakeConnection();
    m_state->Await([this](auto done) { m_state->stream->async_accept(done); });
    return Next();
}

void ScriptedGateway::AcceptAndSay(const std::string& bytes)
{
    m_state->TakeConnection();
    asio::streambuf head;
    m_state->Await([&](auto done) { asio::async_read_until(m_state->stream->next_layer(), head, "\r\n\r\n", done); });
    asio::write(m_state->stream->next_layer(), asio::buffer(bytes));
}

std::string ScriptedGateway::Next()
{
    beast::flat_buffer buffer;
    const auto error = m_state->Await([&](auto done) { m_state->stream->async_read(buffer, done); });
    if (error == websocket::error::closed) {
        return "closed " + std::to_string(m_state->stream->reason().code);
    }
    return error ? "nothing: " + error.message() : beast::buffers_to_string(buffer.data());
}

void ScriptedGateway::Send(const std::string& payload, bool isText)
{
    m_state->stream->text(isText);
    m_state->Await([&](auto done) { m_state->stream->async_write(asio::buffer(payload), done); });
}
