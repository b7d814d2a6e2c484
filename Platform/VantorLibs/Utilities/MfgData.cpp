#include "MfgData.h"

#include "NameValueFile.h"

std::optional<std::string> MfgData::Get(const std::string& name)
{
    return NameValueFile("/persist/mfg_data.json").Find(name);
}
