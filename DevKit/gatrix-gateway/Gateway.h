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
    std::uint16_t port = 0; ///< TCP port on 127.0.0.1 and ::1; 0 for any.
    LineWriter writer;      ///< Takes a line for each event of interest, on the gateway's thread; may be empty.
    bool verbose = false;   ///< Whether each frame is a line too.
    ConnectionLimits limits;
};

/**
 * The reference gateway: passes requests, answers and notifications between the services of a machine that connect to
 * it by WebSocket, as docs/gateway.md describes. It has a thread of its own. Thread-safe.
 */
class Gateway
{
public:
    /** Listens and serves. @throws std::system_error when the port cannot be had */
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
