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
 * What shall become of one request. By default it changes nothing. With a status, a hang or a number of request bytes,
 * the cloud reads the request but stores nothing. Otherwise the request has its ordinary effect, and only its answer
 * suffers.
 */
struct Outcome
{
    static constexpr std::uint32_t kForever = 0;

    std::optional<RequestKind> match;   ///< The kind of request that the outcome waits for; none for any.
    std::optional<int> status;          ///< HTTP status of the answer, 200 to 599.
    Headers headers;                    ///< Fields of that answer.
    std::string body;                   ///< Content of that answer.
    std::chrono::milliseconds delay{0}; ///< From the end of the request to the answer, or to the reset.
    /** Reset the connection when so many bytes of the answer (status line and fields included) are sent. */
    std::optional<std::uint64_t> resetAfterBytes;
    /** Reset the connection when so many bytes of the request's body are read, at the latest at its end. */
    std::optional<std::uint64_t> resetAfterRequestBytes;
    bool hang = false;        ///< Never answer; keep the connection until the client or the server ends it.
    std::uint32_t repeat = 1; ///< How many requests in a row have this outcome, or kForever.

    /** Whether the request has no effect of its own. */
    bool IsInsteadOfTheRequest() const { return status || hang || resetAfterRequestBytes; }

    /** @param content a text is sent as it stands, anything else as JSON; "Content-Type" says which */
    void SetAnswer(int newStatus, const Json::Value& content);

    /** Sets an answer with the reason, as JSON. */
    void Refuse(int newStatus, const std::string& reason);
};

} // namespace DiagCloud
