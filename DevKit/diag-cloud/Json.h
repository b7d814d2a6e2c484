#pragma once

#include <json/json.h>

#include <string>

namespace DiagCloud
{

/** Reads a JSON array or object, strictly (RFC 8259, no member twice). On failure error is set, in one line. */
Json::Value ParseJson(const std::string& text, std::string& error);

/** The value as JSON on one line. */
std::string ToText(const Json::Value& value);

} // namespace DiagCloud
