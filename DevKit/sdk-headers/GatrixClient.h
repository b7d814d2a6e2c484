#pragma once

#include "GatrixClientIF.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

enum class GATRIX_CLIENT_ERRORS;

namespace Gatrix
{
struct CommonClientCreationInfo
{
    CommonClientCreationInfo();
};

class GatrixClient
{
public:
    static std::shared_ptr<GatrixClientIF> Create(
        const std::string& name, const std::string& host, std::uint16_t port, const std::string& platform,
        const std::string& extra, AsyncCallback<const bool> connection,
        std::optional<AsyncCallback<const std::string, const GATRIX_CLIENT_ERRORS>> error,
        CommonClientCreationInfo creationInfo);
};
} // namespace Gatrix
