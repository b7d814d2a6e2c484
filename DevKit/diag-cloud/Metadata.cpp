#include "Metadata.h"

#include "StrictJson.h"

#include <json/json.h>

#include <algorithm>
#include <string_view>

namespace DiagCloud
{

namespace
{

constexpr const char* kTexts[] = {"productName",     "productId", "productType",
                                  "softwareVersion", "fileType",  "uploadTimeStamp"};

bool IsTimeStamp(const std::string& text)
{
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    return std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                      [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

std::string FindItemsFault(const Json::Value& items)
{
    if (!items.isNull() && !items.isArray()) {
        return "\"uploadedItems\" is not an array";
    }
    for (const Json::Value& item : items) {
        if (!item.isObject() || !(item["type"].isString() || item["type"].isInt()) || !item["subType"].isString()) {
            return "an entry of \"uploadedItems\" has no \"type\" and \"subType\"";
        }
    }
    return {};
}

// The record; a null when the text is no JSON object.
Json::Value Parse(const std::string& text)
{
    try {
        Json::Value record = StrictJson::Parse(text);
        return record.isObject() ? record : Json::Value();
    } catch (const StrictJson::Error&) {
        return {};
    }
}

} // namespace

std::string FindMetadataFault(const std::string& text, const std::string& productId)
{
    const Json::Value record = Parse(text);
    if (record.isNull()) {
        return "the body is not a JSON object";
    }
    for (const char* name : kTexts) {
        if (!record[name].isString()) {
            return std::string("there is no text \"") + name + "\"";
        }
    }
    if (record["productId"].asString() != productId) {
        return "\"productId\" is not the product id of the path";
    }
    if (!IsTimeStamp(record["uploadTimeStamp"].asString())) {
        return "\"uploadTimeStamp\" is not a time as 2026-11-15T03:04:05Z";
    }
    if (!record["version"].isNull() && !record["version"].isNumeric()) {
        return "\"version\" is not a number";
    }
    return FindItemsFault(record["uploadedItems"]);
}

std::string ProductIdOf(const std::string& text)
{
    const Json::Value productId = Parse(text)["productId"];
    return productId.isString() ? productId.asString() : std::string();
}

} // namespace DiagCloud
