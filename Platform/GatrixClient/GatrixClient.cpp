#include "GatrixClient.h"

#include "ConnectedClient.h"

#include <utility>

namespace Gatrix
{
std::shared_ptr<GatrixClientIF> GatrixClient::Create(const std::string& name, const std::string& host,
                                                     std::uint16_t port, const std::string& platform,
                                                     const std::string& /*extra*/, ConnectionCallback connection,
                                                     std::optional<ErrorCallback> error,
                                                     CommonClientCreationInfo creationInfo)
{
    ClientCore::Settings settings;
    settings.name = name;
    settings.host = host;
    settings.port = port;
    settings.platform = platform;
    settings.connection = std::move(connection);
    settings.error = std::move(error);
    settings.common = creationInfo;
    return std::make_shared<ConnectedClient>(std::move(settings));
}
} // namespace Gatrix
