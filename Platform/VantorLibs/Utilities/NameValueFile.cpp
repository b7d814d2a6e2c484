#include "NameValueFile.h"

#include "DPrint.h"
#include "StrictJson.h"
#include "SystemUtils.h"

#include <json/json.h>

#include <cstddef>

namespace
{
const DPrint s_log("NameValueFile");

std::optional<std::string> AsText(const Json::Value& value, const std::string& content)
{
    switch (value.type()) {
        case Json::stringValue:
        case Json::booleanValue:
            return value.asString();
        case Json::intValue:
        case Json::uintValue:
        case Json::realValue:
            return content.substr(static_cast<std::size_t>(value.getOffsetStart()),
                                  static_cast<std::size_t>(value.getOffsetLimit() - value.getOffsetStart()));
        default:
            return std::nullopt;
    }
}
} // namespace

NameValueFile::NameValueFile(const std::string& path) : m_path(path)
{
    const std::string content = SystemUtils::ReadFile(path);
    if (content.empty()) {
        s_log.LogWarning("%s: cannot read %s", __func__, path.c_str());
        return;
    }
    try {
        StrictJson::Limits limits;
        limits.bytes = kMaxSize;
        const Json::Value root = StrictJson::Parse(content, limits);
        if (!root.isObject()) {
            throw StrictJson::Error("not an object");
        }
        for (const std::string& name : root.getMemberNames()) {
            m_values[name] = AsText(root[name], content);
        }
    } catch (const StrictJson::Error& error) {
        s_log.LogWarning("%s: %s is not usable: %s", __func__, path.c_str(), error.what());
    }
}

std::string NameValueFile::Get(const std::string& name, const std::string& defaultValue) const
{
    return Find(name).value_or(defaultValue);
}

std::optional<std::string> NameValueFile::Find(const std::string& name) const
{
    const auto found = m_values.find(name);
    if (found == m_values.end()) {
        return std::nullopt;
    }
    if (!found->second) {
        s_log.LogWarning("%s: %s: '%s' is neither a text nor a number nor a boolean", __func__, m_path.c_str(),
                         name.c_str());
    }
    return found->second;
}
