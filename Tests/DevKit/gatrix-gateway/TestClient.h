#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <string>

#include "GatrixWire.h"

/** A service's end of the wire. It blocks; the time limit of the test is its own. */
class TestClient
{
public:
    /** @param name that it says hello with; says nothing when empty */
    explicit TestClient(std::uint16_t port, const std::string& name = "tester", const char* address = "127.0.0.1");

    void Send(const std::string& text);
    void Send(const Gatrix::Wire::Frame& frame) { Send(Gatrix::Wire::Serialize(frame)); }
    void SendRaw(const std::string& bytes) { boost::asio::write(m_stream.next_layer(), boost::asio::buffer(bytes)); }

    /** The next frame. "closed CODE REASON" when the gateway has closed; another word when the connection just ended.
     */
    std::string Read();

    /** Registers an endpoint for GET, and waits until the gateway knows. */
    void Handle(const std::string& endpoint);

    /** Asks for an endpoint by GET, with a body of JSON text. */
    void Ask(std::uint64_t id, const std::string& endpoint, const std::string& body);

    /** Reads a request, answers it with its own body, and returns it. */
    std::string AnswerWithBody();

private:
    boost::asio::io_context m_context{1};
    boost::beast::websocket::stream<boost::asio::ip::tcp::socket> m_stream{m_context};
};
