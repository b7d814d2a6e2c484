#include "Script.h"

#include "StrictJson.h"

#include <json/json.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace DiagCloud
{

namespace
{

constexpr std::uint64_t kLongestDelayMs = std::uint64_t{3600} * 1000;
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 40U;
constexpr std::uint64_t kMostRepeats = std::uint64_t{1000} * 1000;
const std::set<std::string> kMembers = {
    "match", "status", "headers", "body", "delayMs", "resetAfterBytes", "resetAfterRequestBytes", "hang", "repeat"};

// The number that a member has; none when there is no such member.
std::optional<std::uint64_t> Number(const Json::Value& outcome, const std::string& name, std::uint64_t least,
                                    std::uint64_t most)
{
    if (!outcome.isMember(name)) {
        return std::nullopt;
    }
    const Json::Value& value = outcome[name];
    if (!value.isUInt64() || value.asUInt64() < least || value.asUInt64() > most) {
        throw std::invalid_argument("\"" + name + "\" must be a whole number from " + std::to_string(least) + " to " +
                                    std::to_string(most));
    }
    return value.asUInt64();
}

std::optional<RequestKind> Match(const Json::Value& value)
{
    if (value == "metadata") {
        return RequestKind::Metadata;
    }
    if (value == "archive") {
        return RequestKind::Archive;
    }
    if (value != "any") {
        throw std::invalid_argument("\"match\" must be \"metadata\", \"archive\" or \"any\"");
    }
    return std::nullopt;
}

// Whether the text can be the name of a header field (RFC 9110, section 5.6.2).
bool IsToken(const std::string& text)
{
    constexpr const char* kCharacters = "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return !text.empty() && text.find_first_not_of(kCharacters) == std::string::npos;
}

bool IsFieldValue(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\t' || (c >= ' ' && c <= '~'); });
}

Headers Fields(const Json::Value& value)
{
    if (!value.isObject()) {
        throw std::invalid_argument("\"headers\" must be an object");
    }
    Headers headers;
    for (auto field = value.begin(); field != value.end(); ++field) {
        if (!IsToken(field.name()) || !(field->isString() || field->isIntegral()) || !IsFieldValue(field->asString())) {
            throw std::invalid_argument("\"headers\" must map field names to values on one line");
        }
        headers.emplace(field.name(), field->asString());
    }
    return headers;
}

Outcome ParseOutcome(const Json::Value& value)
{
    if (!value.isObject()) {
        throw std::invalid_argument("it must be an object");
    }
    for (const std::string& name : value.getMemberNames()) {
        if (kMembers.count(name) == 0) {
            throw std::invalid_argument("there is no member \"" + name + "\"");
        }
    }
    Outcome outcome;
    outcome.match = Match(value.get("match", "any"));
    outcome.status = Number(value, "status", 200, 599);
    outcome.headers = Fields(value.get("headers", Json::objectValue));
    outcome.delay = std::chrono::milliseconds(Number(value, "delayMs", 0, kLongestDelayMs).value_or(0));
    outcome.resetAfterBytes = Number(value, "resetAfterBytes", 0, kMostBytes);
    outcome.resetAfterRequestBytes = Number(value, "resetAfterRequestBytes", 0, kMostBytes);
    if (value.get("repeat", 1) == "forever") {
        outcome.repeat = Outcome::kForever;
    } else {
        outcome.repeat = static_cast<std::uint32_t>(Number(value, "repeat", 1, kMostRepeats).value_or(1));
    }
    const Json::Value hang = value.get("hang", false);
    if (!hang.isBool()) {
        throw std::invalid_argument("\"hang\" must be true or false");
    }
    outcome.hang = hang.asBool();

    if (!outcome.status && (value.isMember("headers") || value.isMember("body"))) {
        throw std::invalid_argument("\"headers\" and \"body\" need a \"status\"");
    }
    const int status = outcome.status.value_or(0);
    if ((status == 204 || status == 304) && value.isMember("body")) {
        throw std::invalid_argument("an answer of status 204 or 304 has no \"body\"");
    }
    const bool isAnswered = outcome.status || outcome.resetAfterBytes;
    if (int{isAnswered} + int{outcome.hang} + int{outcome.resetAfterRequestBytes.has_value()} > 1) {
        throw std::invalid_argument("\"hang\", \"resetAfterRequestBytes\" and an answer exclude each other");
    }
    if (value.isMember("body")) {
        outcome.SetAnswer(*outcome.status, value["body"]);
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
        throw std::invalid_argument(std::string("it is not JSON: ") + error.what());
    }
    if (!script.isArray()) {
        throw std::invalid_argument("it is not a JSON array of outcomes");
    }
    std::vector<Outcome> outcomes;
    for (const Json::Value& value : script) {
        try {
            outcomes.push_back(ParseOutcome(value));
        } catch (const std::invalid_argument& problem) {
            throw std::invalid_argument("outcome " + std::to_string(outcomes.size() + 1) + ": " + problem.what());
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
