#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ClientNumber.h"
#include "GatrixMethod.h"

namespace GatrixGateway
{

/** A request that was delivered to its handler and has no answer yet. */
struct OpenRequest
{
    ClientNumber requester = 0;
    std::uint64_t requestersId = 0; ///< The requester's own number of it; several open ones may have the same.
    ClientNumber handler = 0;
    Gatrix::Method method = Gatrix::Method::GET;
    std::string endpoint;
};

/** The requests under way, by the gateway's own numbers. Not thread-safe. */
class OpenRequests
{
public:
    /** The number that the next request gets. */
    std::uint64_t NextId() const { return m_lastId + 1; }

    /** Adds a request under NextId(). */
    void Add(OpenRequest request);

    /** How many of the client's requests have no answer yet. */
    std::size_t AskedBy(ClientNumber client) const;

    /** The request of that number; null when there is none. Valid until the next change. */
    const OpenRequest* Find(std::uint64_t id) const;

    /** Takes the request of that number out; none when there is none. */
    std::optional<OpenRequest> Take(std::uint64_t id);

    /** Takes out what the client asked and what it was to answer. @return the latter, the oldest first */
    std::vector<OpenRequest> Drop(ClientNumber client);

private:
    std::uint64_t m_lastId = 0;
    std::map<std::uint64_t, OpenRequest> m_requests;
    std::map<ClientNumber, std::size_t> m_asked;
};

} // namespace GatrixGateway
