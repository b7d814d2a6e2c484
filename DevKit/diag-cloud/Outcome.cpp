#include "Outcome.h"

#include <json/json.h>

namespace DiagCloud
{

void Outcome::SetAnswer(int newStatus, const Json::Value& content)
{
    Json::StreamWriterBuilder onOneLine;
    onOneLine["indentation"] = "";
    status = newStatus;
    body = content.isString() ? content.asString() : Json::writeString(onOneLine, content);
    headers.emplace("Content-Type", content.isString() ? "text/plain" : "application/json");
}

void Outcome::Refuse(int newStatus, const std::string& reason)
{
    Json::Value content;
    content["error"] = reason;
    SetAnswer(newStatus, content);
}

} // namespace DiagCloud
