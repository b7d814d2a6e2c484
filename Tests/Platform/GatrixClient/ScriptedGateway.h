#pragma once

#include "WebSocketPeer.h"

/** A gateway on the loopback interface that the test plays, for one connection at a time. */
struct ScriptedGateway : WebSocketPeer
{
    explicit ScriptedGateway(std::uint16_t port = 0 /* any that is free */) { Listen(port); }
};
