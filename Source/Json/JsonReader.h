#pragma once

#include <json/json.h>

#include <optional>
#include <string>

/**
 * JSON from outside, read as jsoncpp reads by default: comments, and text behind the value, are taken. Platform/ reads
 * more strictly, by a reader that the product's own libraries do not offer.
 */
namespace JsonReader
{
/** How deep jsoncpp lets arrays and objects nest unless told otherwise. */
inline constexpr int kDefaultDepth = 1000;

struct Result
{
    /** Nothing when the text does not begin with a JSON value. */
    std::optional<Json::Value> value;
    /** Why there is no value. */
    std::string error;
};

/**
 * Reads the value that the text begins with. It takes some 50 times the memory of its text: the caller bounds that.
 *
 * @param maxDepth a text that nests deeper is refused
 *
 * Thread-safe.
 */
Result Read(const std::string& text, int maxDepth = kDefaultDepth);
} // namespace JsonReader
