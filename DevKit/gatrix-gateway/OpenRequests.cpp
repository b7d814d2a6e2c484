#include "OpenRequests.h"

#include <utility>

namespace GatrixGateway
{

void OpenRequests::Add(OpenRequest request)
{
    ++m_lastId;
    m_asked[request.requester].insert(m_lastId);
    m_delivered[request.handler].insert(m_lastId);
    m_requests.emplace(m_lastId, std::move(request));
}

std::size_t OpenRequests::AskedBy(ClientNumber client) const
{
    const auto found = m_asked.find(client);
    return found == m_asked.end() ? 0 : found->second.size();
}

const OpenRequest* OpenRequests::Find(std::uint64_t id) const
{
    const auto found = m_requests.find(id);
    return found == m_requests.end() ? nullptr : &found->second;
}

std::optional<OpenRequest> OpenRequests::Take(std::uint64_t id)
{
    const auto found = m_requests.find(id);
    if (found == m_requests.end()) {
        return std::nullopt;
    }
    OpenRequest request = std::move(found->second);
    m_requests.erase(found);
    Forget(m_asked, request.requester, id);
    Forget(m_delivered, request.handler, id);
    return request;
}

std::vector<OpenRequest> OpenRequests::Drop(ClientNumber client)
{
    const std::set<std::uint64_t> asked = m_asked[client];
    for (const std::uint64_t id : asked) {
        Take(id);
    }
    std::vector<OpenRequest> unanswered;
    const std::set<std::uint64_t> delivered = m_delivered[client];
    unanswered.reserve(delivered.size());
    for (const std::uint64_t id : delivered) {
        unanswered.push_back(*Take(id));
    }
    m_asked.erase(client);
    m_delivered.erase(client);
    return unanswered;
}

void OpenRequests::Forget(Ids& ids, ClientNumber client, std::uint64_t id)
{
    const auto found = ids.find(client);
    found->second.erase(id);
    if (found->second.empty()) {
        ids.erase(found);
    }
}

} // namespace GatrixGateway
