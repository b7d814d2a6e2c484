#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>

#include "ClientNumber.h"

namespace GatrixGateway
{

/** Which clients have to do with which endpoints. Belongs to one thread. */
class EndpointIndex
{
public:
    using Clients = std::set<ClientNumber>;
    using Endpoints = std::set<std::string>;

    /** Does nothing when the two already belong together. */
    void Add(ClientNumber client, const std::string& endpoint);

    const Clients& ClientsOf(const std::string& endpoint) const;
    const Endpoints& EndpointsOf(ClientNumber client) const;

    /** Forgets the client. @return the endpoints that were its own */
    Endpoints Drop(ClientNumber client);

private:
    std::map<std::string, Clients> m_clients;
    std::map<ClientNumber, Endpoints> m_endpoints;
};

} // namespace GatrixGateway
