#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ClientNumber.h"
#include "EndpointIndex.h"
#include "GatrixMethod.h"

namespace GatrixGateway
{

/**
 * Who handles what. Of several registrations of a method and endpoint the newest wins; the older ones stay behind it,
 * so that the one before it handles again when the winner's client drops. Belongs to one thread.
 */
class Registrations
{
public:
    /**
     * Adds a registration; one that the client already has becomes the newest.
     *
     * @return false, and nothing changed, when the client has as many as it may (kMaxEndpointsOfAClient)
     */
    bool Add(ClientNumber client, Gatrix::Method method, const std::string& endpoint);

    /** Who handles it; nobody when no one does. */
    std::optional<ClientNumber> HandlerOf(Gatrix::Method method, const std::string& endpoint) const;

    /** Whether there is a handler for any method. */
    bool HasHandler(const std::string& endpoint) const;

    /** Forgets the client. @return the endpoints that have no handler any more */
    std::vector<std::string> Drop(ClientNumber client);

private:
    /** By the method's number: the clients, the newest last. */
    using Handlers = std::array<std::vector<ClientNumber>, 2>;

    std::map<std::string, Handlers> m_handlers;
    std::map<ClientNumber, std::size_t> m_counts;
    EndpointIndex m_index;
};

} // namespace GatrixGateway
