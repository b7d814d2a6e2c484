#include "CliWire.h"

#include "StrictJson.h"

#include <json/json.h>

#include <array>
#include <utility>

namespace
{
using CliWire::Event;
using CliWire::kMaxEventLength;
using CliWire::Request;

constexpr std::array<std::pair<Request::Kind, const char*>, 2> kRequestNames{{
    {Request::Kind::List, "list"},
    {Request::Kind::Run, "run"},
}};

constexpr std::array<std::pair<Event::Kind, const char*>, 6> kEventNames{{
    {Event::Kind::Commands, "commands"},
    {Event::Kind::Reply, "reply"},
    {Event::Kind::UnknownCommand, "unknown"},
    {Event::Kind::Failed, "failed"},
    {Event::Kind::Async, "async"},
    {Event::Kind::Error, "error"},
}};

template <class Kind, std::size_t size>
const char* NameOf(const std::array<std::pair<Kind, const char*>, size>& names, Kind kind)
{
    for (const auto& [candidate, name] : names) {
        if (candidate == kind) {
            return name;
        }
    }
    return "";
}

template <class Kind, std::size_t size>
std::optional<Kind> KindOf(const std::array<std::pair<Kind, const char*>, size>& names, const Json::Value& name)
{
    for (const auto& [kind, candidate] : names) {
        if (name == candidate) {
            return kind;
        }
    }
    return std::nullopt;
}

std::string Line(const Json::Value& object)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, object) + "\n";
}

std::optional<Json::Value> ParseObject(const std::string& line)
{
    StrictJson::Limits limits;
    limits.bytes = kMaxEventLength;
    limits.levels = 16;
    try {
        Json::Value object = StrictJson::Parse(line, limits);
        return object.isObject() ? std::optional(std::move(object)) : std::nullopt;
    } catch (const StrictJson::Error&) {
        return std::nullopt;
    }
}

std::string Text(const Json::Value& object, const char* name)
{
    const Json::Value& value = object[name];
    return value.isString() ? value.asString() : std::string();
}

bool IsId(const Json::Value& value)
{
    return value.isInt() && value.asInt() >= 0;
}
} // namespace

std::string CliWire::Encode(const Request& request)
{
    Json::Value object;
    object["request"] = NameOf(kRequestNames, request.kind);
    object["id"] = request.id;
    if (request.kind == Request::Kind::Run) {
        object["line"] = request.line;
    }
    return Line(object);
}

std::string CliWire::Encode(const Event& event)
{
    Json::Value object;
    object["event"] = NameOf(kEventNames, event.kind);
    if (event.kind != Event::Kind::Async && event.kind != Event::Kind::Error) {
        object["id"] = event.id;
    }
    if (event.kind != Event::Kind::Commands) {
        object["text"] = event.text;
    }
    if (event.kind == Event::Kind::Commands || event.kind == Event::Kind::UnknownCommand) {
        object["commands"] = Json::Value(Json::arrayValue);
        for (const Command& command : event.commands) {
            Json::Value item;
            item["words"] = command.words;
            item["help"] = command.help;
            item["usage"] = command.usage;
            object["commands"].append(item);
        }
    }
    return Line(object);
}

std::optional<Request> CliWire::DecodeRequest(const std::string& line)
{
    const std::optional<Json::Value> object = ParseObject(line);
    const auto kind = object ? KindOf(kRequestNames, (*object)["request"]) : std::nullopt;
    if (!kind || !IsId((*object)["id"]) || (kind == Request::Kind::Run && !(*object)["line"].isString())) {
        return std::nullopt;
    }
    return Request{*kind, (*object)["id"].asInt(), Text(*object, "line")};
}

std::optional<Event> CliWire::DecodeEvent(const std::string& line)
{
    const std::optional<Json::Value> object = ParseObject(line);
    const auto kind = object ? KindOf(kEventNames, (*object)["event"]) : std::nullopt;
    if (!kind) {
        return std::nullopt;
    }
    Event event{*kind, IsId((*object)["id"]) ? (*object)["id"].asInt() : 0, Text(*object, "text"), {}};
    const Json::Value& commands = (*object)["commands"];
    for (Json::ArrayIndex at = 0; commands.isArray() && at < commands.size(); ++at) {
        if (commands[at].isObject()) {
            event.commands.push_back(
                {Text(commands[at], "words"), Text(commands[at], "help"), Text(commands[at], "usage")});
        }
    }
    return event;
}

void CliWire::LineCutter::Append(const char* bytes, std::size_t length)
{
    m_bytes.erase(0, std::exchange(m_begin, 0));
    m_bytes.append(bytes, length);
}

std::optional<std::string> CliWire::LineCutter::Next()
{
    const std::size_t end = m_bytes.find('\n', m_begin);
    if (end == std::string::npos || end - m_begin > m_maxLength) {
        return std::nullopt;
    }
    std::string line = m_bytes.substr(m_begin, end - m_begin);
    m_begin = end + 1;
    return line;
}
