#pragma once

#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>

#include <cstdint>
#include <string>

#include "WebSocketPeer.h"

/** A WebSocket server on the loopback interface that the test plays, for one connection at a time. */
class ScriptedGateway : public WebSocketPeer
{
public:
    explicit ScriptedGateway(std::uint16_t port = 0 /* any that is free */)
        : m_acceptor(m_context, Tcp::endpoint(boost::asio::ip::address_v4::loopback(), port))
    {}

    std::uint16_t Port() const { return m_acceptor.local_endpoint().port(); }

    /** Takes the next client's connection, in place of the one before, and returns its first frame. */
    std::string Accept()
    {
        TakeConnection();
        Await([this](auto done) { m_stream->async_accept(done); });
        return Read();
    }

    /** Takes the next client's connection, answers its handshake with these bytes, and leaves it open. */
    void AcceptAndSay(const std::string& bytes)
    {
        TakeConnection();
        boost::asio::streambuf head;
        Await([&](auto done) { boost::asio::async_read_until(Socket(), head, "\r\n\r\n", done); });
        SendRaw(bytes);
    }

private:
    void TakeConnection()
    {
        m_stream.emplace(m_context);
        Await([this](auto done) { m_acceptor.async_accept(Socket(), done); });
    }

    Tcp::acceptor m_acceptor;
};
