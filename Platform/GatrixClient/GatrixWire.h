#pragma once

#include "GatrixMethod.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

/**
 * The frames between the gateway and its clients, as they stand in docs/gateway.md: WebSocket text frames (RFC 6455),
 * one JSON object (RFC 8259) each. Thread-safe.
 */
namespace Gatrix::Wire
{
/** Where the gateway listens, on the loopback interface. */
inline constexpr std::uint16_t kPort = 8084;
/** A larger frame closes the connection with code 1009. */
inline constexpr std::size_t kMaxFrameBytes = std::size_t{1024} * 1024;
/** What a close frame has room for beside its code (RFC 6455, section 5.5). */
inline constexpr std::size_t kMaxReasonBytes = 123;

/** A client's first frame: who it is. */
struct Hello
{
    std::string client;
    std::string platform;
};

/** From a client: tell me when all of these have a handler; replaces the earlier list. */
struct Interest
{
    std::vector<std::string> endpoints;
};

/** From a client: I handle this. */
struct Register
{
    Method method = Method::GET;
    std::string endpoint;
    double version = 0;
    std::string group;
};

/** From a client: send me what is published on this endpoint. */
struct Subscribe
{
    std::string endpoint;
    double version = 0;
};

/** To the gateway, with the requester's number; to the handler, with the gateway's. */
struct Request
{
    std::uint64_t id = 0;
    Method method = Method::GET;
    std::string endpoint;
    double version = 0;
    /** JSON text of the body; nothing when the frame has none. */
    std::optional<std::string> body;
};

/** What a handler answers, with the number of the request as it was delivered; then with the requester's. */
struct Answer
{
    std::uint64_t id = 0;
    /** JSON text of the body; nothing when the frame has none. */
    std::optional<std::string> body;
};

/** A refusal; numbers as for an answer. */
struct Refusal
{
    std::uint64_t id = 0;
    int statusCode = 0;
    std::string message;
};

/** To the gateway: publish this; from it: it was published. */
struct Notify
{
    std::string endpoint;
    double version = 0;
    /** JSON text of the body; nothing when the frame has none. */
    std::optional<std::string> body;
};

/** From the gateway: all endpoints of interest have a handler now. */
struct Ready
{
    std::vector<std::string> endpoints;
};

/** From the gateway: these endpoints of interest lost their handler. */
struct NotReady
{
    std::vector<std::string> endpoints;
};

using Frame = std::variant<Hello, Interest, Register, Subscribe, Request, Answer, Refusal, Notify, Ready, NotReady>;

/** What is wrong with a frame: one short line, fit for the reason of a close frame (RFC 6455, section 5.5.1). */
class FrameError : public std::runtime_error
{
public:
    /** Which request waits in vain because of the frame. */
    struct Exchange
    {
        /** The frame is that request; otherwise it is what came of one. */
        bool isRequest;
        std::uint64_t id;
    };

    explicit FrameError(const std::string& reason, std::optional<Exchange> exchange = std::nullopt)
        : std::runtime_error(reason), m_exchange(exchange)
    {}

    /** Nothing when nobody waits, or the frame does not say who. */
    const std::optional<Exchange>& GetExchange() const noexcept { return m_exchange; }

private:
    std::optional<Exchange> m_exchange;
};

/**
 * Reads a frame, a text in UTF-8. Members that the frame's kind does not know are ignored, but must be JSON. A body
 * keeps its numbers as they are spelled and loses its white space.
 *
 * @throws FrameError for text that is not a JSON object with a known "op", for members that are missing or of the wrong
 *         type, and for what StrictJson refuses: more than 255 levels, a body of more than 65536 values, another member
 *         of more than 4096
 */
Frame Parse(const std::string& text);

/**
 * The text of a frame: one line, and UTF-8 as long as the body is. Bodies must be JSON texts of one line. It may come
 * out longer than kMaxFrameBytes.
 *
 * @throws FrameError when the version is no number (a NaN, an infinity)
 */
std::string Serialize(const Frame& frame);
} // namespace Gatrix::Wire
