#pragma once

#include "EventLine.h"
#include "Limits.h"

#include <cstdint>
#include <memory>
#include <string>

namespace GatrixGateway
{

struct GatewaySettings
{
    /** TCP port on 127.0.0.1 and ::1; 0 for any. */
    std::uint16_t port = 0;
    /** Takes a line for each event of interest; may be empty. Called on the gateway's thread. */
    LineWriter writer;
    /** Whether each frame is a line too. */
    bool verbose = false;
    ConnectionLimits limits;
};

/**
 * The reference gateway: passes requests, answers and notifications between the services of a machine that connect to
 * it by WebSocket. The wire is written in docs/gateway.md.
 *
 * It has a thread of its own. Thread-safe.
 */
class Gateway
{
public:
    /** Listens and serves from here on. @throws std::system_error when the port cannot be had */
    explicit Gateway(GatewaySettings settings);

    ~Gateway();

    /** Closes all connections (code 1001), and returns when they are closed: after the limits' closeTime at most. */
    void Stop();

    std::uint16_t Port() const;

    /** "ws://localhost:", the port and "/". */
    std::string Url() const;

private:
    class Implementation;

    std::unique_ptr<Implementation> m_implementation;
};

} // namespace GatrixGateway
