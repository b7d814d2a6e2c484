#pragma once

#include "Outcome.h"
#include "ReceivedRequest.h"
#include "RequestLog.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace DiagCloud
{

struct CloudSettings
{
    /** TCP port on 127.0.0.1 and ::1; 0 for any. */
    std::uint16_t port = 0;
    /** Where what is sent is stored: ID-metadata.json and ID.tar.gz. Made if it is not there. */
    std::string storeFolder;
    /** What shall happen to the requests, in their order; then the ordinary behaviour follows. */
    std::vector<Outcome> script;
    /** Bytes of a request's body; more is answered with status 413. */
    std::uint64_t maxBodySize = std::uint64_t{1} << 30U;
    /** Clients served at a time; others wait to be accepted. */
    std::size_t maxConnections = 64;
    /** Whether requests are kept for Requests and WaitForRequest. */
    bool keepRequests = true;
    /** Takes a line for each request; may be empty. */
    LineWriter writer;
};

/**
 * Stands in for the cloud's diagnostics service, and for the proxy on the way to it.
 *
 * POST to "/senders/PRODUCT/metadata" takes a metadata record and answers with the "uploadUrl" of an archive, which is
 * on this server. POST to that takes the archive if its Content-MD5 is right. Both forms of request target, a server's
 * and a proxy's, are understood. An upload may be repeated: the later archive replaces the earlier one.
 *
 * It has a thread of its own. Thread-safe.
 */
class CloudServer
{
public:
    /** Listens and serves from here on. @throws std::system_error when the port or the folder cannot be had */
    explicit CloudServer(CloudSettings settings);

    ~CloudServer();

    /** Ends all connections, whatever they are doing. */
    void Stop();

    std::uint16_t Port() const;

    /** "http://localhost:" and the port. */
    std::string Url() const;

    /** The requests so far. */
    std::vector<ReceivedRequest> Requests() const;

    /**
     * The request of that number, counted from 1 in the order in which the answers were decided; waits for it if need
     * be. An answer that is delayed or cut off is decided before that. None when the time is up.
     */
    std::optional<ReceivedRequest> WaitForRequest(std::size_t number, std::chrono::milliseconds timeout) const;

private:
    struct Implementation;

    std::unique_ptr<Implementation> m_implementation;
};

} // namespace DiagCloud
