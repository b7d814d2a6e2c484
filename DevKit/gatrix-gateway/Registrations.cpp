#include "Registrations.h"

#include <algorithm>

#include "Limits.h"

namespace GatrixGateway
{

namespace
{

std::size_t IndexOf(Gatrix::Method method)
{
    return method == Gatrix::Method::GET ? 0 : 1;
}

bool Holds(const std::vector<ClientNumber>& clients, ClientNumber client)
{
    return std::find(clients.begin(), clients.end(), client) != clients.end();
}

void Remove(std::vector<ClientNumber>& clients, ClientNumber client)
{
    clients.erase(std::remove(clients.begin(), clients.end(), client), clients.end());
}

} // namespace

bool Registrations::Add(ClientNumber client, Gatrix::Method method, const std::string& endpoint)
{
    const auto found = m_handlers.find(endpoint);
    if (found != m_handlers.end() && Holds(found->second[IndexOf(method)], client)) {
        Remove(found->second[IndexOf(method)], client);
    } else if (m_counts[client] < kMaxEndpointsOfAClient) {
        ++m_counts[client];
    } else {
        return false;
    }
    m_handlers[endpoint][IndexOf(method)].push_back(client);
    m_index.Add(client, endpoint);
    return true;
}

std::optional<ClientNumber> Registrations::HandlerOf(Gatrix::Method method, const std::string& endpoint) const
{
    const auto found = m_handlers.find(endpoint);
    if (found == m_handlers.end() || found->second[IndexOf(method)].empty()) {
        return std::nullopt;
    }
    return found->second[IndexOf(method)].back();
}

bool Registrations::HasHandler(const std::string& endpoint) const
{
    return m_handlers.count(endpoint) != 0;
}

std::vector<std::string> Registrations::Drop(ClientNumber client)
{
    std::vector<std::string> lost;
    m_counts.erase(client);
    for (const std::string& endpoint : m_index.Drop(client)) {
        const auto found = m_handlers.find(endpoint);
        for (std::vector<ClientNumber>& clients : found->second) {
            Remove(clients, client);
        }
        if (found->second[0].empty() && found->second[1].empty()) {
            m_handlers.erase(found);
            lost.push_back(endpoint);
        }
    }
    return lost;
}

} // namespace GatrixGateway
