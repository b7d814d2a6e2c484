#include "GatrixWire.h"

#include "JsonText.h"
#include "Utf8Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>
#include <utility>

namespace
{
using namespace Gatrix;
using JsonText::Digits;
using Wire::FrameError;

// What a frame may hold beside its body.
constexpr StrictJson::Limits kEnvelopeLimits{Wire::kMaxFrameBytes, 255, 4096};

constexpr const char* kKnown[] = {"op",    "id",        "method", "endpoint", "version",
                                  "group", "endpoints", "client", "platform", "error"};

// The members of a frame, as far as they can be read.
class Members
{
public:
    // Throws a FrameError when the text is no object.
    explicit Members(const std::string& text)
    {
        const auto members = JsonText::Split(text);
        if (!members) {
            throw FrameError("not a JSON object");
        }
        std::set<std::string> names;
        for (const JsonText::Member& member : *members) {
            Take(member, names);
        }
    }

    // Throws a FrameError.
    Wire::Frame Frame() const
    {
        const bool hasOp = m_known["op"].isString();
        const std::string op = hasOp ? m_known["op"].asString() : "";
        if (!m_problem.empty()) {
            throw FrameError((hasOp ? op + ": " : "") + m_problem);
        }
        if (op == "hello") {
            return Wire::Hello{Text("client"), Text("platform")};
        }
        if (op == "interest") {
            return Wire::Interest{Endpoints()};
        }
        if (op == "register") {
            return Wire::Register{HandledMethod(), Text("endpoint"), Version(), Text("group")};
        }
        if (op == "subscribe") {
            return Wire::Subscribe{Text("endpoint"), Version()};
        }
        if (op == "request") {
            return Wire::Request{Id(), HandledMethod(), Text("endpoint"), Version(), m_body};
        }
        if (op == "answer") {
            return Wire::Answer{Id(), m_body};
        }
        if (op == "error") {
            return Refusal();
        }
        if (op == "notify") {
            return Wire::Notify{Text("endpoint"), Version(), m_body};
        }
        if (op == "ready") {
            return Wire::Ready{Endpoints()};
        }
        if (op == "notReady") {
            return Wire::NotReady{Endpoints()};
        }
        throw FrameError(hasOp ? "\"op\" is unknown" : "\"op\" must be a text");
    }

    std::optional<FrameError::Exchange> Exchange() const
    {
        const Json::Value& op = m_known["op"];
        const bool isRequest = op == "request";
        if (!m_known["id"].isUInt64() || !(isRequest || op == "answer" || op == "error")) {
            return std::nullopt;
        }
        return FrameError::Exchange{isRequest, m_known["id"].asUInt64()};
    }

private:
    void Take(const JsonText::Member& member, std::set<std::string>& names)
    {
        std::string name(member.name);
        try {
            name = StrictJson::Parse(member.name).asString();
            if (!names.insert(name).second) {
                m_known.removeMember(name);
                throw StrictJson::Error("there is a second one");
            }
            if (name == "body") {
                StrictJson::Parse(member.value, JsonText::kBodyLimits);
                m_body = JsonText::Compact(member.value);
                return;
            }
            Json::Value value = StrictJson::Parse(member.value, kEnvelopeLimits);
            if (std::find(std::begin(kKnown), std::end(kKnown), name) != std::end(kKnown)) {
                m_known[name] = std::move(value);
            }
        } catch (const StrictJson::Error& error) {
            m_problem = m_problem.empty() ? "\"" + name + "\": " + error.what() : m_problem;
        }
    }

    std::string Text(const char* name) const { return TextIn(m_known, name); }

    std::vector<std::string> Endpoints() const
    {
        const Json::Value& list = m_known["endpoints"];
        std::vector<std::string> endpoints;
        bool isGood = list.isArray();
        for (Json::ArrayIndex at = 0; isGood && at < list.size(); ++at) {
            isGood = list[at].isString();
            endpoints.push_back(isGood ? list[at].asString() : "");
        }
        Require(isGood, "endpoints", "a list of texts");
        return endpoints;
    }

    Method HandledMethod() const
    {
        const Json::Value& name = m_known["method"];
        Require(name == "GET" || name == "POST", "method", "GET or POST");
        return name == "GET" ? Method::GET : Method::POST;
    }

    double Version() const
    {
        Require(m_known["version"].isNumeric(), "version", "a number");
        return m_known["version"].asDouble();
    }

    std::uint64_t Id() const
    {
        Require(m_known["id"].isUInt64(), "id", "an unsigned number");
        return m_known["id"].asUInt64();
    }

    Wire::Refusal Refusal() const
    {
        const Json::Value& error = m_known["error"];
        Require(error.isObject(), "error", "an object");
        Require(error["statusCode"].isInt(), "statusCode", "a number");
        return {Id(), error["statusCode"].asInt(), TextIn(error, "message")};
    }

    std::string TextIn(const Json::Value& object, const char* name) const
    {
        Require(object[name].isString(), name, "a text");
        return object[name].asString();
    }

    void Require(bool isGood, const char* member, const char* expected) const
    {
        if (!isGood) {
            throw FrameError(m_known["op"].asString() + ": \"" + member + "\" must be " + expected);
        }
    }

    // The members of kKnown whose values were not refused.
    Json::Value m_known{Json::objectValue};
    std::optional<std::string> m_body;
    // What is wrong with the first member that was refused; empty when none was.
    std::string m_problem;
};

Json::Value Object(const char* op)
{
    Json::Value object(Json::objectValue);
    object["op"] = op;
    return object;
}

Json::Value Object(const char* op, const std::vector<std::string>& endpoints)
{
    Json::Value object = Object(op);
    Json::Value& list = object["endpoints"] = Json::Value(Json::arrayValue);
    for (const std::string& endpoint : endpoints) {
        list.append(endpoint);
    }
    return object;
}

Json::Value Object(const char* op, const std::string& endpoint, double version)
{
    if (!std::isfinite(version)) {
        throw FrameError(std::string(op) + ": \"version\" must be a number");
    }
    Json::Value object = Object(op);
    object["endpoint"] = endpoint;
    object["version"] = version;
    return object;
}

Json::Value Object(const char* op, std::uint64_t id)
{
    Json::Value object = Object(op);
    object["id"] = Json::Value::UInt64{id};
    return object;
}

bool IsExact(double number, Digits digits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*g", static_cast<int>(digits), number);
    return std::strtod(text, nullptr) == number;
}

// A frame without a body has the empty one.
std::string Text(const Json::Value& object, const std::optional<std::string>& body = std::nullopt)
{
    const Json::Value& version = object["version"];
    const bool isFew = version.isNull() || IsExact(version.asDouble(), Digits::Few);
    std::string text = JsonText::Write(object, isFew ? Digits::Few : Digits::Enough);
    if (body) {
        text.pop_back();
        text.append(",\"body\":").append(*body).append("}");
    }
    return text;
}

struct Writer
{
    std::string operator()(const Wire::Hello& frame) const
    {
        Json::Value object = Object("hello");
        object["client"] = frame.client;
        object["platform"] = frame.platform;
        return Text(object);
    }
    std::string operator()(const Wire::Interest& frame) const { return Text(Object("interest", frame.endpoints)); }
    std::string operator()(const Wire::Register& frame) const
    {
        Json::Value object = Object("register", frame.endpoint, frame.version);
        object["method"] = ToText(frame.method);
        object["group"] = frame.group;
        return Text(object);
    }
    std::string operator()(const Wire::Subscribe& frame) const
    {
        return Text(Object("subscribe", frame.endpoint, frame.version));
    }
    std::string operator()(const Wire::Request& frame) const
    {
        Json::Value object = Object("request", frame.endpoint, frame.version);
        object["id"] = Json::Value::UInt64{frame.id};
        object["method"] = ToText(frame.method);
        return Text(object, frame.body);
    }
    std::string operator()(const Wire::Answer& frame) const { return Text(Object("answer", frame.id), frame.body); }
    std::string operator()(const Wire::Refusal& frame) const
    {
        Json::Value object = Object("error", frame.id);
        object["error"]["statusCode"] = frame.statusCode;
        object["error"]["message"] = frame.message;
        return Text(object);
    }
    std::string operator()(const Wire::Notify& frame) const
    {
        return Text(Object("notify", frame.endpoint, frame.version), frame.body);
    }
    std::string operator()(const Wire::Ready& frame) const { return Text(Object("ready", frame.endpoints)); }
    std::string operator()(const Wire::NotReady& frame) const { return Text(Object("notReady", frame.endpoints)); }
};
} // namespace

Wire::Frame Wire::Parse(const std::string& text)
{
    const Members members(text);
    try {
        return members.Frame();
    } catch (const FrameError& error) {
        throw FrameError(std::string(Utf8Text::Cut(error.what(), Wire::kMaxReasonBytes)), members.Exchange());
    }
}

std::string Wire::Serialize(const Frame& frame)
{
    return std::visit(Writer(), frame);
}
