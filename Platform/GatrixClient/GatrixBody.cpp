#include "GatrixBody.h"

#include "JsonText.h"
#include "StringUtils.h"

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
    constexpr int kLevelsOfTheFrame = 1;
    if (StringUtils::IsUtf8(text)) {
        if (const auto value = JsonText::Read(text, JsonText::kMaxLevels - kLevelsOfTheFrame)) {
            if (auto body = JsonText::Compact(text, *value)) {
                return *std::move(body);
            }
        }
    }
    return JsonText::Write(Json::Value(text));
}

std::string TextOfBody(const std::string& body)
{
    if (body.empty() || body.front() != '"') {
        return body;
    }
    const auto value = JsonText::Read(body, 1);
    return value && value->isString() ? value->asString() : body;
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
