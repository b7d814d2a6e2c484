#include "OpenRequests.h"

#include <utility>

namespace GatrixGateway
{

void OpenRequests::Add(OpenRequest request)
{
    ++m_asked[request.requester];
    m_requests.emplace(++m_lastId, std::move(request));
}

std::size_t OpenRequests::AskedBy(ClientNumber client) const
{
    const auto found = m_asked.find(client);
    return found == m_asked.end() ? 0 : found->second;
}

const OpenRequest* OpenRequests::Find(std::uint64_t id) const
{
    const auto found = m_requests.find(id);
    return found == m_requests.end() ? nullptr : &found->second;
}

std::optional<OpenRequest> OpenRequests::Take(std::uint64_t id)
{
    const auto taken = m_requests.extract(id);
    if (taken.empty()) {
        return std::nullopt;
    }
    const auto asked = m_asked.find(taken.mapped().requester);
    if (--asked->second == 0) {
        m_asked.erase(asked);
    }
    return taken.mapped();
}

std::vector<OpenRequest> OpenRequests::Drop(ClientNumber client)
{
    std::vector<OpenRequest> unanswered;
    for (auto next = m_requests.begin(); next != m_requests.end();) {
        const auto& [id, request] = *next++;
        if (request.requester == client) {
            Take(id);
        } else if (request.handler == client) {
            unanswered.push_back(*Take(id));
        }
    }
    return unanswered;
}

} // namespace GatrixGateway
