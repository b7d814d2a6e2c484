#pragma once

#include <json/json.h>

#include <string>

namespace DiagCloud
{

/** Reads a JSON value, strictly (StrictJson.h). On failure error is set, in one line, and the value is null. */
Json::Value ParseJson(const std::string& text, std::string& error);

/** The value as JSON on one line. */
std::string ToText(const Json::Value& value);

} // namespace DiagCloud
