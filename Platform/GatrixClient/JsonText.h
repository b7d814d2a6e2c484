#pragma once

#include "GatrixWire.h"
#include "StrictJson.h"

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/** JSON texts (RFC 8259) on their way into and out of frames. Thread-safe. */
namespace Gatrix::JsonText
{
/** A member of an object, each part as the object's text spells it, white space around the value included. */
struct Member
{
    std::string_view name;
    std::string_view value;
};

/** Of a frame; it knows about ten. */
inline constexpr std::size_t kMaxMembers = 64;

/** What a body may cost: a frame is 256 levels deep, its own object being the first. */
inline constexpr StrictJson::Limits kBodyLimits{Wire::kMaxFrameBytes, 255};

/**
 * The members of the object that the text spells, told apart by quotes and brackets alone: a value need not be good
 * for its neighbours to be found. Nothing when the text is no object or has more than kMaxMembers.
 */
std::optional<std::vector<Member>> Split(std::string_view text);

/** A text that StrictJson takes, without its white space, otherwise as it was written. */
std::string Compact(std::string_view text);

/** Significant digits of a number: with Few, most are exact, and read better; with Enough, all are exact. */
enum class Digits : unsigned int
{
    Few = 15,
    Enough = 17,
};

/** The value on one line of ASCII: bytes in texts that are not UTF-8 as U+FFFD. */
std::string Write(const Json::Value& value, Digits digits = Digits::Enough);
} // namespace Gatrix::JsonText
