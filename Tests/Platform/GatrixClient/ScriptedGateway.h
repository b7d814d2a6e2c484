#pragma once

#include "WebSocketPeer.h"

/** A gateway on the loopback interface that the test plays, for one connection at a time. */
class ScriptedGateway : public WebSocketPeer
{
public:
    explicit ScriptedGateway(std::uint16_t port = 0 /* any that is free */) { Listen(port); }

    /** Takes the next client's connection, and returns its first frame. */
    std::string Accept()
    {
        TakeConnection();
        AcceptHandshake();
        return Read();
    }

    /** Takes the next client's connection, answers its handshake with these bytes, and leaves it open. */
    void AcceptAndSay(const std::string& bytes)
    {
        TakeConnection();
        AnswerHandshakeWith(bytes);
    }
};
