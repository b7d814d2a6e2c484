#pragma once

#include <optional>
#include <string>

/** The manufacturing data of this unit, /persist/mfg_data.json: a NameValueFile written once, in the factory. */
class MfgData
{
public:
    /**
     * The value of that name; none when the file or the name is missing. Each call reads the file, so that a service
     * which was started before the partition was mounted finds the data later. Thread-safe.
     */
    static std::optional<std::string> Get(const std::string& name);
};
