#pragma once

#include <cstdint>
#include <memory>
#include <string>

/**
 * A WebSocket server on the loopback interface whose words the test speaks itself, on its own thread and for one
 * connection at a time. An operation that waits gives up at the tests' deadline.
 */
class ScriptedGateway
{
public:
    explicit ScriptedGateway(std::uint16_t port = 0 /* any that is free */);
    ~ScriptedGateway();

    std::uint16_t Port() const;

    /** Takes the next client's connection, in place of the one before, and returns its first frame. */
    std::string Accept();

    /** Takes the next client's connection, answers its handshake with these bytes, and leaves it open. */
    void AcceptAndSay(const std::string& bytes);

    /** The next frame; "closed" and the code when the client closed the connection instead, "nothing" if none comes. */
    std::string Next();

    void Send(const std::string& payload, bool isText = true);

private:
    struct State;
    const std::unique_ptr<State> m_state;
};
