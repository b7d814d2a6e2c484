#pragma once

#include "Route.h"

#include <boost/beast/core/string.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace DiagCloud
{

/** HTTP header fields, the first of each name in whatever case (RFC 9110, section 5.1). */
using Headers = std::map<std::string, std::string, boost::beast::iless>;

/** A request that the cloud took in, and what it made of it. */
struct ReceivedRequest
{
    std::size_t number = 0; ///< Counted from 1 in the order in which the answers were decided.
    RequestKind kind = RequestKind::Other;
    std::string method;
    std::string target; ///< As it was sent: in absolute form when the cloud was used as a proxy.
    Headers headers;
    std::string body;                              ///< Of an archive nothing, of anything else at most 1 MiB.
    std::uint64_t bodySize = 0;                    ///< In bytes.
    bool complete = false;                         ///< The whole body arrived.
    std::chrono::steady_clock::time_point arrival; ///< When the header was read.
    std::string productId;                         ///< As far as it is known.
    std::string archiveId;                         ///< Of an archive, or announced by metadata.
    std::string archivePath;                       ///< Where an archive was stored.
    std::string md5Fault;                          ///< What is wrong with a complete archive's Content-MD5.
    int status = 0;        ///< As decided, whether or not it reaches the client; 0 for no answer.
    bool scripted = false; ///< An outcome of the script was applied.
};

} // namespace DiagCloud
