#include "Json.h"

#include <algorithm>
#include <memory>

namespace DiagCloud
{

Json::Value ParseJson(const std::string& text, std::string& error)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string problem;
    bool parsed = false;
    try {
        parsed = reader->parse(text.data(), text.data() + text.size(), &value, &problem);
    } catch (const Json::Exception& exception) { // thrown for values nested too deeply
        problem = exception.what();
    }
    error.clear();
    if (!parsed) {
        std::replace(problem.begin(), problem.end(), '\n', ' ');
        error = problem.empty() ? "it cannot be read" : problem;
    }
    return value;
}

std::string ToText(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

} // namespace DiagCloud
