#include "JsonReader.h"

#include <memory>
#include <utility>

JsonReader::Result JsonReader::Read(const std::string& text, int maxDepth)
{
    Json::CharReaderBuilder builder;
    builder["stackLimit"] = maxDepth;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    Result result;
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &value, &result.error)) {
            result.value = std::move(value);
        }
    } catch (const Json::Exception& error) {
        // The parser's way of refusing a text that nests too deep.
        result.error = error.what();
    }
    return result;
}
