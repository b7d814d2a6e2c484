#pragma once

#include <optional>
#include <string>

class MfgData
{
public:
    static std::optional<std::string> Get(const std::string& name);
};
