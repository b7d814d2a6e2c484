#pragma once

#include "Exchange.h"
#include "FileDescriptor.h"

#include <chrono>
#include <cstdint>
#include <memory>

namespace DiagCloud
{

struct ConnectionLimits
{
    std::uint64_t bodySize; //!< Bytes of a request's body.
    std::chrono::seconds idleTime =
        std::chrono::seconds(60); //!< For a whole header to arrive, from the last answer on.
    std::chrono::seconds stallTime = std::chrono::seconds(30); //!< For the next bytes of a body to arrive or to leave.
};

/** Speaks HTTP/1.1 (RFC 9112) with one client: reads requests, lets an Exchange answer each, and sends the answers. */
class Connection
{
public:
    /** @param socket a connected TCP socket @param cloud must outlive the connection */
    Connection(FileDescriptor socket, Cloud& cloud, const ConnectionLimits& limits);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /** Serves the client until it is gone, stalls or breaks the protocol. Blocks; to be called once. */
    void Run();

    /** Ends Run soon, whatever it waits for. Any thread may call, also before Run and after it. */
    void Cancel();

private:
    class Implementation;

    std::unique_ptr<Implementation> m_implementation;
};

} // namespace DiagCloud
