#include "Manifest.h"

#include "DiagFileTypes.pb.h"
#include "StrictJson.h"

#include <json/json.h>

#include <stdexcept>

namespace DfsOpen
{

namespace
{

Json::Value ParseObject(const std::string& text)
{
    try {
        Json::Value value = StrictJson::Parse(text);
        if (value.isObject()) {
            return value;
        }
    } catch (const StrictJson::Error& error) {
        throw std::runtime_error(std::string("the manifest cannot be read: ") + error.what());
    }
    throw std::runtime_error("the manifest is not a JSON object");
}

std::string TypeName(const Json::Value& type)
{
    if (type.isString()) {
        return type.asString();
    }
    if (!type.isInt()) {
        return {};
    }
    return DFSCommonPB::DiagFileType_IsValid(type.asInt())
               ? DFSCommonPB::DiagFileType_Name(static_cast<DFSCommonPB::DiagFileType>(type.asInt()))
               : std::to_string(type.asInt());
}

std::string Text(const Json::Value& value)
{
    return value.isString() ? value.asString() : std::string();
}

} // namespace

std::vector<ManifestEntry> ParseManifest(const std::string& text)
{
    // Nothing of it is copied: in memory a hostile manifest is 50 times as large as its text.
    const Json::Value object = ParseObject(text);
    const Json::Value& manifest = object.isMember("UploadManifest") ? object["UploadManifest"] : object;
    const Json::Value& items = manifest.isObject() ? manifest["item"] : Json::Value::nullSingleton();
    if (!items.isArray()) {
        throw std::runtime_error("the manifest has no list of items");
    }

    std::vector<ManifestEntry> entries;
    for (const Json::Value& item : items) {
        if (!item.isObject()) {
            throw std::runtime_error("the manifest has an item that is not an object");
        }
        entries.push_back({Text(item["filename"]), TypeName(item["type"]), Text(item["subType"])});
    }
    return entries;
}

} // namespace DfsOpen
