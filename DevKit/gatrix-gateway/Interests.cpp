#include "Interests.h"

#include <utility>

namespace GatrixGateway
{

bool Interests::Set(ClientNumber client, std::vector<std::string> endpoints,
                    const std::function<bool(const std::string& endpoint)>& hasHandler)
{
    m_index.Drop(client);
    Interest& interest = m_interests[client];
    interest = {std::move(endpoints), 0};
    for (const std::string& endpoint : interest.endpoints) {
        m_index.Add(client, endpoint);
    }
    for (const std::string& endpoint : m_index.EndpointsOf(client)) {
        interest.missing += hasHandler(endpoint) ? 0 : 1;
    }
    return interest.missing == 0;
}

Interests::Told Interests::Gain(const std::string& endpoint)
{
    Told ready;
    for (const ClientNumber client : m_index.ClientsOf(endpoint)) {
        Interest& interest = m_interests[client];
        if (--interest.missing == 0) {
            ready[client] = interest.endpoints;
        }
    }
    return ready;
}

Interests::Told Interests::Lose(const std::vector<std::string>& endpoints)
{
    std::map<ClientNumber, std::vector<std::string>> lost;
    for (const std::string& endpoint : endpoints) {
        for (const ClientNumber client : m_index.ClientsOf(endpoint)) {
            lost[client].push_back(endpoint);
        }
    }
    for (auto entry = lost.begin(); entry != lost.end();) {
        std::size_t& missing = m_interests[entry->first].missing;
        const bool wasReady = missing == 0;
        missing += entry->second.size();
        entry = wasReady ? std::next(entry) : lost.erase(entry);
    }
    return lost;
}

void Interests::Drop(ClientNumber client)
{
    m_index.Drop(client);
    m_interests.erase(client);
}

} // namespace GatrixGateway
