#include "GatrixWire.h"

#include <cmath>
#include <utility>

#include "JsonText.h"

namespace
{
using namespace Gatrix;
using Wire::FrameError;

/** The members of a frame that has been read. */
class Members
{
public:
    Members(const std::string& text, std::string op, const Json::Value& frame)
        : m_text(text), m_op(std::move(op)), m_frame(frame)
    {}

    std::string Text(const char* name) const { return TextIn(m_frame, name); }

    std::vector<std::string> Endpoints() const
    {
        const Json::Value& list = m_frame["endpoints"];
        std::vector<std::string> endpoints;
        bool isGood = list.isArray();
        for (Json::ArrayIndex at = 0; isGood && at < list.size(); ++at) {
            isGood = list[at].isString();
            endpoints.push_back(isGood ? list[at].asString() : "");
        }
        Require(isGood, "endpoints", "a list of texts");
        return endpoints;
    }

    Method AskedBy() const
    {
        const Json::Value& name = m_frame["method"];
        Require(name == "GET" || name == "POST", "method", "GET or POST");
        return name == "GET" ? Method::GET : Method::POST;
    }

    double Version() const
    {
        Require(m_frame["version"].isNumeric(), "version", "a number");
        return m_frame["version"].asDouble();
    }

    std::uint64_t Id() const
    {
        Require(m_frame["id"].isUInt64(), "id", "an unsigned number");
        return m_frame["id"].asUInt64();
    }

    std::optional<std::string> Body() const
    {
        if (!m_frame.isMember("body")) {
            return std::nullopt;
        }
        std::optional<std::string> body = JsonText::Compact(m_text, m_frame["body"]);
        Require(body.has_value(), "body", "a JSON value");
        return body;
    }

    Wire::Refusal Refusal() const
    {
        const Json::Value& error = m_frame["error"];
        Require(error.isObject(), "error", "an object");
        Require(error["statusCode"].isInt(), "statusCode", "a number");
        return {Id(), error["statusCode"].asInt(), TextIn(error, "message")};
    }

private:
    std::string TextIn(const Json::Value& object, const char* name) const
    {
        Require(object[name].isString(), name, "a text");
        return object[name].asString();
    }

    void Require(bool isGood, const char* member, const char* expected) const
    {
        if (!isGood) {
            throw FrameError(m_op + ": \"" + member + "\" must be " + expected);
        }
    }

    const std::string& m_text;
    const std::string m_op;
    const Json::Value& m_frame;
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

/** A frame without a body has the empty one. */
std::string Text(const Json::Value& object, const std::optional<std::string>& body = std::nullopt)
{
    // Fewer digits do for most numbers, and read better.
    constexpr unsigned int kFew = 15;
    constexpr unsigned int kEnough = 17;
    const Json::Value& version = object["version"];
    const bool isFew = version.isNull() || JsonText::Read(JsonText::Write(version, kFew), 1) == version;
    std::string text = JsonText::Write(object, isFew ? kFew : kEnough);
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
    const std::optional<Json::Value> frame = JsonText::Read(text, JsonText::kMaxLevels);
    if (!frame || !frame->isObject()) {
        throw FrameError("not a JSON object");
    }
    const Json::Value& name = (*frame)["op"];
    const std::string op = name.isString() ? name.asString() : "";
    const Members members(text, op, *frame);
    if (op == "hello") {
        return Hello{members.Text("client"), members.Text("platform")};
    }
    if (op == "interest") {
        return Interest{members.Endpoints()};
    }
    if (op == "register") {
        return Register{members.AskedBy(), members.Text("endpoint"), members.Version(), members.Text("group")};
    }
    if (op == "subscribe") {
        return Subscribe{members.Text("endpoint"), members.Version()};
    }
    if (op == "request") {
        return Request{members.Id(), members.AskedBy(), members.Text("endpoint"), members.Version(), members.Body()};
    }
    if (op == "answer") {
        return Answer{members.Id(), members.Body()};
    }
    if (op == "error") {
        return members.Refusal();
    }
    if (op == "notify") {
        return Notify{members.Text("endpoint"), members.Version(), members.Body()};
    }
    if (op == "ready") {
        return Ready{members.Endpoints()};
    }
    if (op == "notReady") {
        return NotReady{members.Endpoints()};
    }
    throw FrameError(name.isString() ? "\"op\" is unknown" : "\"op\" must be a text");
}

std::string Wire::Serialize(const Frame& frame)
{
    return std::visit(Writer(), frame);
}
