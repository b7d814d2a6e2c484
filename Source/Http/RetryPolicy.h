#pragma once

#include "HSMResponse.h"
#include "RetrySettings.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

namespace Http
{
/** What a server asks for by the header "X-Retry-Behavior". */
enum class RetryBehavior
{
    Constant = 0,
    Exponential = 1,
    NotGiven = 2,
};

/** How far the retries of one request have come. */
struct RetryState
{
    /** The table's next entry to use. */
    std::size_t backoffIndex = 0;

    /** Retries made so far. */
    std::uint32_t attemptCount = 0;

    /** The response under decision says that too many requests were sent. */
    bool rateLimited = false;
};

/** What to do after a response. */
struct RetryDecision
{
    enum class Action
    {
        Finished, ///< The response is the result; nothing is amiss, or retries are switched off.
        GiveUp,   ///< The response is the result: the request failed.
        Retry,    ///< Send the request again.
    };

    Action action = Action::Finished;

    /** How long to wait before the retry, 1 or more. */
    std::uint32_t seconds = 0;
};

/**
 * Decides whether a request is sent again and how long to wait: a function of the settings, the response, the state,
 * the time and chance, and of nothing else. It neither sends nor sleeps.
 *
 * One object serves one request. Not thread-safe.
 */
class RetryPolicy
{
public:
    /** Gives a number from 0 to RAND_MAX, as rand(3) does. */
    using RandomFunction = std::function<int()>;

    explicit RetryPolicy(RetrySettings settings, RandomFunction random = std::rand, RetryState state = {});

    /** @param now seconds since the epoch. If the decision is Retry, the attempt count already includes it. */
    RetryDecision Decide(const HSMResponse& response, std::int64_t now);

    const RetryState& State() const noexcept { return m_state; }

    /**
     * Reads the headers by which a server steers retries.
     *
     * @param retryValue set to the seconds that the headers ask for, if any
     * @param exhausted  set when no further retry is allowed
     * @param behavior   set to what the server asks for, if its header is read
     * @return whether the headers alone determined the wait
     */
    bool HandleRetryHeaders(const HSMResponse& response, std::int64_t now, std::uint32_t& retryValue, bool& exhausted,
                            RetryBehavior& behavior);

    static RetryBehavior GetRetryBehavior(const HSMResponse& response);

    /** The seconds to wait: the value grown as the behaviour asks, capped, and made random by up to 30 %. */
    std::uint32_t CalculateRetrySleepValue(RetryBehavior behavior, std::uint32_t value) const;

    /**
     * Strict: the whole text must be decimal digits, without sign or blank, of at most 2^32 - 1. Otherwise the value is
     * left alone; an empty text, that is a missing header, is no error.
     */
    static bool ConvertToInt(const std::string& text, std::uint32_t& value);

private:
    bool ReadRateLimitReset(const HSMResponse& response, std::int64_t now, std::uint32_t& retryValue) const;
    bool IsAnotherRetryAllowed(const HSMResponse& response) const;
    std::optional<std::uint32_t> TakeBackoffValue(std::int32_t status);
    std::uint32_t SleepForBackoff(RetryBehavior behavior, std::uint32_t value) const;
    std::uint32_t SleepForRetryValue(RetryBehavior behavior, std::uint32_t value) const;
    RetryDecision RetryAfter(std::uint32_t seconds);

    const RetrySettings m_settings;
    const RandomFunction m_random;
    RetryState m_state;
};
} // namespace Http
