#pragma once

#include <json/json.h>

#include <optional>
#include <string>

/** JSON texts (RFC 8259) on their way into and out of frames. Any thread may call. */
namespace Gatrix::JsonText
{
/** How deep a frame may be nested, its own object being the first level. */
constexpr int kMaxLevels = 256;

/**
 * The value that the text spells; nothing when it is not JSON (a member named twice is not), or nested more deeply. The
 * reader lets some numbers and control characters pass that JSON does not have; Compact does not.
 */
std::optional<Json::Value> Read(const std::string& text, int maxLevels);

/**
 * The part of the text that a value was read from, without white space, otherwise as it was written: numbers keep their
 * digits and objects their order. Nothing when it holds a number or a control character that JSON does not have.
 *
 * @param value what Read made of the text, or a part of that
 */
std::optional<std::string> Compact(const std::string& text, const Json::Value& value);

/** The value on one line of ASCII: bytes in texts that are not UTF-8 as U+FFFD. @param digits of its numbers */
std::string Write(const Json::Value& value, unsigned int digits = 17);
} // namespace Gatrix::JsonText
