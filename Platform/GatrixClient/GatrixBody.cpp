#include "GatrixBody.h"

#include "JsonText.h"

namespace Gatrix
{
Error MakeError(int statusCode, const std::string& message)
{
    Error error;
    error.set_statuscode(statusCode);
    error.set_message(message);
    return error;
}

std::string BodyOfText(const std::string& text)
{
    try {
        StrictJson::Parse(text, JsonText::kBodyLimits);
        return JsonText::Compact(text);
    } catch (const StrictJson::Error&) {
        return JsonText::Write(Json::Value(text));
    }
}

std::string TextOfBody(const std::string& body)
{
    if (body.empty() || body.front() != '"') {
        return body;
    }
    try {
        return StrictJson::Parse(body, JsonText::kBodyLimits).asString();
    } catch (const StrictJson::Error&) {
        return body;
    }
}

std::optional<std::string> BodyOrRefusal(const google::protobuf::Message& message, const AsyncCallback<Error>& onError)
{
    try {
        return ProtoToMarkup::ToJson(message, false);
    } catch (const ProtoToMarkup::MarkupError& error) {
        onError(MakeError(400, error.what()));
        return std::nullopt;
    }
}
} // namespace Gatrix
