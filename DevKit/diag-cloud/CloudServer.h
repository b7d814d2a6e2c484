#pragma once

#include "Exchange.h"
#include "LoopbackServer.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace DiagCloud
{

struct CloudSettings
{
    std::uint16_t port = 0;  ///< TCP port on 127.0.0.1 and ::1; 0 for any.
    std::string storeFolder; ///< Where ID-metadata.json and ID.tar.gz are stored. Made if it is not there.
    /** What shall happen to the requests, in their order; then the ordinary behaviour follows. */
    std::vector<Outcome> script;
    std::uint64_t maxBodySize = std::uint64_t{1} << 30U; ///< In bytes; a larger body is answered with status 413.
    std::size_t maxConnections = 64;                     ///< At a time; other clients wait to be accepted.
    bool keepRequests = true;                            ///< For Requests and WaitForRequest.
    LineWriter writer;                                   ///< Takes a line for each request; may be empty.
};

/**
 * Stands in for the cloud's diagnostics service, and for the proxy on the way to it.
 *
 * POST to "/senders/PRODUCT/metadata" takes a metadata record and answers with the "uploadUrl" of an archive, which is
 * on this server. POST to that takes the archive if its Content-MD5 is right. Both forms of request target, a server's
 * and a proxy's, are understood. An upload may be repeated: the later archive replaces the earlier one. It has
 * a thread of its own. Thread-safe.
 */
class CloudServer
{
public:
    /** Listens and serves. @throws std::system_error when the port or the folder cannot be had */
    explicit CloudServer(CloudSettings settings);

    /** Ends all connections at once. Blocks. */
    void Stop();

    std::uint16_t Port() const { return m_port; }

    /** "http://localhost:" and the port. */
    std::string Url() const { return m_cloud.baseUrl; }

    /** Those so far, in the order in which the answers were decided. */
    std::vector<ReceivedRequest> Requests() const { return m_cloud.log.Requests(); }

    /**
     * Waits for the request of that number, counted from 1 in that order. The answer is decided before it is delayed or
     * cut off.
     * @return none when the time is up
     *
     * Blocks.
     */
    std::optional<ReceivedRequest> WaitForRequest(std::size_t number, std::chrono::milliseconds timeout) const
    {
        return m_cloud.log.WaitFor(number, timeout);
    }

private:
    Cloud m_cloud;
    std::unique_ptr<LoopbackServer> m_server;
    const std::uint16_t m_port;
    std::mutex m_stopMutex;
};

} // namespace DiagCloud
