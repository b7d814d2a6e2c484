#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <optional>
#include <string>

#include "Deadline.h"

/**
 * One end of a WebSocket whose words the test speaks itself, on its own thread. An operation that waits gives up at the
 * tests' deadline. What goes wrong with the connection, Read tells.
 */
class WebSocketPeer
{
public:
    void Send(const std::string& payload, bool isText = true)
    {
        m_stream->text(isText);
        Await([&](auto done) { m_stream->async_write(boost::asio::buffer(payload), done); });
    }

    /** Sends bytes that need not be a frame. */
    void SendRaw(const std::string& bytes)
    {
        Await([&](auto done) { boost::asio::async_write(Socket(), boost::asio::buffer(bytes), done); });
    }

    /** The next frame. "closed", the code and the reason when the other end has closed; else why none comes. */
    std::string Read()
    {
        boost::beast::flat_buffer buffer;
        const auto error = Await([&](auto done) { m_stream->async_read(buffer, done); });
        if (error == boost::beast::websocket::error::closed) {
            return "closed " + std::to_string(m_stream->reason().code) + " " + m_stream->reason().reason.c_str();
        }
        return error ? error.message() : boost::beast::buffers_to_string(buffer.data());
    }

protected:
    using Tcp = boost::asio::ip::tcp;

    /** Has an operation begin with the handler that it is to call, and waits for it. Its error, or a timeout. */
    template <class Begin>
    boost::system::error_code Await(Begin begin)
    {
        boost::system::error_code outcome = boost::asio::error::timed_out;
        begin([&outcome](const boost::system::error_code& error, auto...) { outcome = error; });
        m_context.restart();
        m_context.run_for(kDeadline);
        return outcome;
    }

    Tcp::socket& Socket() { return m_stream->next_layer(); }

    boost::asio::io_context m_context{1};
    std::optional<boost::beast::websocket::stream<Tcp::socket>> m_stream;
};
