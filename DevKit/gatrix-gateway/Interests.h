#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ClientNumber.h"
#include "EndpointIndex.h"

namespace GatrixGateway
{

/** Which clients wait for which endpoints to have a handler, and who of them is told what. Not thread-safe. */
class Interests
{
public:
    /** By client: the endpoints that it is told of. */
    using Told = std::map<ClientNumber, std::vector<std::string>>;

    /**
     * Replaces the client's list.
     *
     * @param hasHandler whether an endpoint has a handler at present
     * @return whether all have: the client is told so, an empty list included
     */
    bool Set(ClientNumber client, std::vector<std::string> endpoints,
             const std::function<bool(const std::string& endpoint)>& hasHandler);

    /** To be called when an endpoint got its first handler. @return the clients that are ready by it */
    Told Gain(const std::string& endpoint);

    /** To be called when endpoints lost their last handler. @return the clients that were ready, and what they lost */
    Told Lose(const std::vector<std::string>& endpoints);

    void Drop(ClientNumber client);

private:
    struct Interest
    {
        std::vector<std::string> endpoints; ///< As the client listed them.
        std::size_t missing = 0;            ///< Endpoints without a handler, each counted once.
    };

    std::map<ClientNumber, Interest> m_interests;
    EndpointIndex m_index;
};

} // namespace GatrixGateway
