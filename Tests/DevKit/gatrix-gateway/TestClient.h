#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <functional>
#include <string>

#include "GatrixWire.h"

/** A service's end of the wire, for one thread. What takes too long fails the test. */
class TestClient
{
public:
    /** @param name that it says hello with; says nothing when empty */
    explicit TestClient(std::uint16_t port, const std::string& name = "tester", const char* address = "127.0.0.1");

    void Send(const std::string& text, bool isBinary = false);
    void Send(const Gatrix::Wire::Frame& frame) { Send(Gatrix::Wire::Serialize(frame)); }

    /** The next frame. "closed CODE REASON" when the gateway has closed; another word when the connection just ended.
     */
    std::string Read();

    /** Registers an endpoint for GET, and waits until the gateway knows. */
    void Handle(const std::string& endpoint);

    /** Asks for an endpoint by GET, with a body of JSON text. @return the frame that comes next */
    std::string Ask(const std::string& endpoint, const std::string& body, std::uint64_t id = 1);

    /** Reads a request and answers it with its own body. @return false when no request came */
    bool AnswerWithBody();

    boost::asio::ip::tcp::socket& Socket() { return m_stream.next_layer(); }

private:
    using Handler = std::function<void(boost::system::error_code error, std::size_t size)>;

    boost::system::error_code Await(const std::function<void(Handler)>& start);

    boost::asio::io_context m_context{1};
    boost::beast::websocket::stream<boost::asio::ip::tcp::socket> m_stream;
    boost::beast::flat_buffer m_buffer;
};
