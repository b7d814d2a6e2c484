#include "Json.h"

#include "StrictJson.h"

namespace DiagCloud
{

Json::Value ParseJson(const std::string& text, std::string& error)
{
    try {
        error.clear();
        return StrictJson::Parse(text);
    } catch (const StrictJson::Error& problem) {
        error = problem.what();
        return {};
    }
}

std::string ToText(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

} // namespace DiagCloud
