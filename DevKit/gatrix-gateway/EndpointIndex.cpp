#include "EndpointIndex.h"

#include <utility>

namespace GatrixGateway
{

void EndpointIndex::Add(ClientNumber client, const std::string& endpoint)
{
    m_clients[endpoint].insert(client);
    m_endpoints[client].insert(endpoint);
}

const EndpointIndex::Clients& EndpointIndex::ClientsOf(const std::string& endpoint) const
{
    static const Clients kNone;
    const auto found = m_clients.find(endpoint);
    return found == m_clients.end() ? kNone : found->second;
}

const EndpointIndex::Endpoints& EndpointIndex::EndpointsOf(ClientNumber client) const
{
    static const Endpoints kNone;
    const auto found = m_endpoints.find(client);
    return found == m_endpoints.end() ? kNone : found->second;
}

EndpointIndex::Endpoints EndpointIndex::Drop(ClientNumber client)
{
    const auto found = m_endpoints.find(client);
    if (found == m_endpoints.end()) {
        return {};
    }
    Endpoints endpoints = std::move(found->second);
    m_endpoints.erase(found);
    for (const std::string& endpoint : endpoints) {
        const auto clients = m_clients.find(endpoint);
        clients->second.erase(client);
        if (clients->second.empty()) {
            m_clients.erase(clients);
        }
    }
    return endpoints;
}

} // namespace GatrixGateway
