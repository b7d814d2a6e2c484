#include "Script.h"

#include "StrictJson.h"

#include <json/json.h>

#include <algorithm>
#include <stdexcept>

namespace DiagCloud
{

namespace
{

constexpr int kLowestStatus = 200;
constexpr int kHighestStatus = 599;
constexpr int kNoContent = 204;
constexpr int kNotModified = 304;
constexpr std::uint64_t kLongestDelayMs = std::uint64_t{3600} * 1000;
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 40U;
constexpr std::uint64_t kMostRepeats = std::uint64_t{1000} * 1000;

[[noreturn]] void Refuse(const std::string& what)
{
    throw std::invalid_argument(what);
}

std::uint64_t Number(const Json::Value& value, const std::string& name, std::uint64_t least, std::uint64_t most)
{
    if (!value.isUInt64() || value.asUInt64() < least || value.asUInt64() > most) {
        Refuse("\"" + name + "\" must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value.asUInt64();
}

std::optional<RequestKind> Match(const Json::Value& value)
{
    const std::string text = value.isString() ? value.asString() : "";
    if (text == "metadata") {
        return RequestKind::kMetadata;
    }
    if (text == "archive") {
        return RequestKind::kArchive;
    }
    if (text != "any") {
        Refuse("\"match\" must be \"metadata\", \"archive\" or \"any\"");
    }
    return std::nullopt;
}

bool IsToken(const std::string& text)
{
    static const std::string kMarks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               kMarks.find(c) != std::string::npos;
    });
}

bool IsFieldValue(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\t' || (c >= ' ' && c <= '~'); });
}

Headers Fields(const Json::Value& value)
{
    if (!value.isObject()) {
        Refuse("\"headers\" must be an object");
    }
    Headers headers;
    for (auto field = value.begin(); field != value.end(); ++field) {
        if (!IsToken(field.name()) || !(field->isString() || field->isIntegral()) || !IsFieldValue(field->asString())) {
            Refuse("\"headers\" must map field names to values on one line");
        }
        headers.emplace(field.name(), field->asString());
    }
    return headers;
}

void SetMember(Outcome& outcome, const std::string& name, const Json::Value& value)
{
    if (name == "match") {
        outcome.match = Match(value);
    } else if (name == "status") {
        outcome.status = static_cast<int>(Number(value, name, kLowestStatus, kHighestStatus));
    } else if (name == "headers") {
        outcome.headers = Fields(value);
    } else if (name == "delayMs") {
        outcome.delay = std::chrono::milliseconds(Number(value, name, 0, kLongestDelayMs));
    } else if (name == "resetAfterBytes") {
        outcome.resetAfterBytes = Number(value, name, 0, kMostBytes);
    } else if (name == "resetAfterRequestBytes") {
        outcome.resetAfterRequestBytes = Number(value, name, 0, kMostBytes);
    } else if (name == "hang") {
        if (!value.isBool()) {
            Refuse("\"hang\" must be true or false");
        }
        outcome.hang = value.asBool();
    } else if (name == "repeat") {
        const bool forever = value.isString() && value.asString() == "forever";
        outcome.repeat = forever ? Outcome::kForever : static_cast<std::uint32_t>(Number(value, name, 1, kMostRepeats));
    } else if (name != "body") {
        Refuse("there is no member \"" + name + "\"");
    }
}

Outcome ParseOutcome(const Json::Value& value)
{
    if (!value.isObject()) {
        Refuse("it must be an object");
    }
    Outcome outcome;
    for (const std::string& name : value.getMemberNames()) {
        SetMember(outcome, name, value[name]);
    }
    if (!outcome.status && (value.isMember("headers") || value.isMember("body"))) {
        Refuse("\"headers\" and \"body\" need a \"status\"");
    }
    const int status = outcome.status.value_or(0);
    if ((status == kNoContent || status == kNotModified) && value.isMember("body")) {
        Refuse("an answer of status 204 or 304 has no \"body\"");
    }
    const bool isAnswered = outcome.status || outcome.resetAfterBytes;
    if (int{isAnswered} + int{outcome.hang} + int{outcome.resetAfterRequestBytes.has_value()} > 1) {
        Refuse("\"hang\", \"resetAfterRequestBytes\" and an answer exclude each other");
    }
    if (value.isMember("body")) {
        outcome.SetAnswer(status, value["body"]);
    }
    return outcome;
}

} // namespace

std::vector<Outcome> ParseScript(const std::string& text)
{
    Json::Value script;
    try {
        script = StrictJson::Parse(text);
    } catch (const StrictJson::Error& error) {
        Refuse(std::string("it is not JSON: ") + error.what());
    }
    if (!script.isArray()) {
        Refuse("it is not a JSON array of outcomes");
    }
    std::vector<Outcome> outcomes;
    for (const Json::Value& value : script) {
        try {
            outcomes.push_back(ParseOutcome(value));
        } catch (const std::invalid_argument& problem) {
            Refuse("outcome " + std::to_string(outcomes.size() + 1) + ": " + problem.what());
        }
    }
    return outcomes;
}

Script::Script(std::vector<Outcome> outcomes) : m_outcomes(outcomes.begin(), outcomes.end()) {}

std::optional<Outcome> Script::Take(RequestKind kind)
{
    if (m_outcomes.empty() || (m_outcomes.front().match && m_outcomes.front().match != kind)) {
        return std::nullopt;
    }
    Outcome& head = m_outcomes.front();
    Outcome taken = head;
    if (head.repeat != Outcome::kForever && --head.repeat == 0) {
        m_outcomes.pop_front();
    }
    return taken;
}

} // namespace DiagCloud
