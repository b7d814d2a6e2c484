#include "StringUtils.h"

#include <json/json.h>

std::string StringUtils::FindReplace(std::string text, const std::string& from, const std::string& to)
{
    if (from.empty()) {
        return text;
    }
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, done)) {
        result.append(text, done, at - done).append(to);
        done = at + from.size();
    }
    return result.append(text, done, std::string::npos);
}

std::string StringUtils::trim(std::string text)
{
    constexpr char kWhiteSpace[] = " \t\n\v\f\r";
    text.erase(text.find_last_not_of(kWhiteSpace) + 1);
    text.erase(0, text.find_first_not_of(kWhiteSpace));
    return text;
}

std::string StringUtils::ToJson(const std::map<std::string, std::string>& values)
{
    Json::Value object(Json::objectValue);
    for (const auto& [name, value] : values) {
        object[name] = value;
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, object);
}
