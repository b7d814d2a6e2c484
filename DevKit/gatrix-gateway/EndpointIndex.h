#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ClientNumber.h"

namespace GatrixGateway
{

/** Which clients have to do with which endpoints. Not thread-safe. */
class EndpointIndex
{
public:
    using Clients = std::vector<ClientNumber>;
    using Endpoints = std::set<std::string>;

    /**
     * Makes the client the endpoint's newest.
     *
     * @return false, and nothing changed, when the client has as many endpoints as it may (kMaxEndpointsOfAClient)
     */
    bool Add(ClientNumber client, const std::string& endpoint);

    /** The newest last. */
    const Clients& ClientsOf(const std::string& endpoint) const;
    const Endpoints& EndpointsOf(ClientNumber client) const;

    /** Forgets the client. @return the endpoints that were its own */
    Endpoints Drop(ClientNumber client);

private:
    std::map<std::string, Clients> m_clients;
    std::map<ClientNumber, Endpoints> m_endpoints;
};

} // namespace GatrixGateway
