#include "EndpointIndex.h"

#include <algorithm>
#include <utility>

#include "Limits.h"

namespace GatrixGateway
{

namespace
{

void Remove(EndpointIndex::Clients& clients, ClientNumber client)
{
    clients.erase(std::remove(clients.begin(), clients.end(), client), clients.end());
}

} // namespace

bool EndpointIndex::Add(ClientNumber client, const std::string& endpoint)
{
    const Endpoints& endpoints = EndpointsOf(client);
    if (endpoints.size() >= kMaxEndpointsOfAClient && endpoints.count(endpoint) == 0) {
        return false;
    }
    m_endpoints[client].insert(endpoint);
    Clients& clients = m_clients[endpoint];
    Remove(clients, client);
    clients.push_back(client);
    return true;
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
    Endpoints endpoints;
    std::swap(endpoints, m_endpoints[client]);
    m_endpoints.erase(client);
    for (const std::string& endpoint : endpoints) {
        const auto clients = m_clients.find(endpoint);
        Remove(clients->second, client);
        if (clients->second.empty()) {
            m_clients.erase(clients);
        }
    }
    return endpoints;
}

} // namespace GatrixGateway
