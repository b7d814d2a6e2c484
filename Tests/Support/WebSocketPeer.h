#pragma once

#include <cstdint>
#include <memory>
#include <string>

/**
 * One end of a WebSocket whose words the test speaks itself, on its own thread: the client's, which connects, or the
 * server's, which listens and takes one connection at a time. What waits gives up at the tests' deadline. What goes
 * wrong with the connection, Read tells.
 */
class WebSocketPeer
{
public:
    WebSocketPeer();
    ~WebSocketPeer();

    /** Connects, without a word yet. @throws boost::system::system_error when nobody listens */
    void Connect(std::uint16_t port, const char* address = "127.0.0.1");

    /** Asks for the WebSocket; the running test fails when it is refused. */
    void ShakeHands();

    /** Listens on the loopback interface, on any port if it is 0. @throws boost::system::system_error */
    void Listen(std::uint16_t port);
    std::uint16_t Port() const;

    /** Takes the next client's connection, in place of the one before, and returns its first frame. */
    std::string Accept();

    /** Takes the next client's connection, answers its handshake with these bytes, and leaves it open. */
    void AcceptAndSay(const std::string& bytes);

    void Send(const std::string& payload, bool isText = true);

    /** Sends bytes that need not be a frame. */
    void SendRaw(const std::string& bytes);

    /** The next frame. "closed", the code and the reason when the other end has closed; else why none comes. */
    std::string Read();

private:
    struct State;
    const std::unique_ptr<State> m_state;
};
