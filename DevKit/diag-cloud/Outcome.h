#pragma once

#include "ReceivedRequest.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Json
{
class Value;
}

namespace DiagCloud
{

/**
 * What shall become of one request, instead of the ordinary answer. As it stands it changes nothing.
 *
 * Given a status, a hang or a number of request bytes, the cloud takes the request in but stores nothing. Otherwise the
 * request has its ordinary effect, and what is given here happens to its answer.
 */
struct Outcome
{
    static constexpr std::uint32_t kForever = 0;

    /** The kind of request that the outcome waits for; none for any request. */
    std::optional<RequestKind> match;
    /** HTTP status to answer, 200 to 599. */
    std::optional<int> status;
    /** Fields and content of that answer. */
    Headers headers;
    std::string body;
    /** Time from the end of the request to the answer, or to the reset that takes its place. */
    std::chrono::milliseconds delay{0};
    /** Reset the connection when so many bytes of the answer (status line and fields included) are sent. */
    std::optional<std::uint64_t> resetAfterBytes;
    /** Reset the connection when so many bytes of the request's body are read, at the latest at its end. */
    std::optional<std::uint64_t> resetAfterRequestBytes;
    /** Never answer: keep the connection until the client or the server ends it. */
    bool hang = false;
    /** How many requests in a row have this outcome, or kForever. */
    std::uint32_t repeat = 1;

    /** Whether the request has no effect of its own. */
    bool IsInsteadOfTheRequest() const { return status || hang || resetAfterRequestBytes; }

    /** @param content sent as it stands if it is a text, as JSON if it is anything else; "Content-Type" says which */
    void SetAnswer(int newStatus, const Json::Value& content);

    /** Answers with a reason, as JSON. */
    void Refuse(int newStatus, const std::string& reason);
};

} // namespace DiagCloud
