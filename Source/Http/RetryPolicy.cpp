#include "RetryPolicy.h"

#include "HttpLog.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace Http
{
namespace
{
// The lines of a request and of its retries are read together: they share a logger.
const DPrint s_log("RunTask");

constexpr char X_RETRY_BEHAVIOR[] = "X-Retry-Behavior";
constexpr char X_RETRY_COUNT[] = "X-Retry-Count";
constexpr char X_RATELIMIT_REMAINING[] = "X-Ratelimit-Remaining";
constexpr char X_RATELIMIT_RESET[] = "X-Ratelimit-Reset";
constexpr char RETRY_AFTER[] = "Retry-After";

// The operations that lines name, whichever function writes them.
constexpr char kHeaderStep[] = "HandleRetryHeaders";
constexpr char kDecisionStep[] = "CheckIfRetryNeededAndSleep";

constexpr std::uint32_t kHighestExponent = 29;
constexpr float kRandomness = 0.3F;

std::string Header(const HSMResponse& response, const char* name)
{
    const auto found = response.headers.find(name);
    return found == response.headers.end() ? std::string() : found->second;
}

bool IsSuccess(std::int32_t status)
{
    return status >= 200 && status <= 299;
}

bool IsServerError(std::int32_t status)
{
    return status >= 500 && status <= 599;
}
} // namespace

RetryPolicy::RetryPolicy(RetrySettings settings, RandomFunction random, RetryState state)
    : m_settings(std::move(settings)), m_random(std::move(random)), m_state(state)
{}

bool RetryPolicy::ConvertToInt(const std::string& text, std::uint32_t& value)
{
    if (text.empty()) {
        return false;
    }
    std::uint32_t converted = 0;
    const char* const end = text.data() + text.size();
    const auto [next, error] = std::from_chars(text.data(), end, converted);
    if (error != std::errc() || next != end) {
        LogLine(s_log, 1, __func__, "String value of:", text, " is not a valid uint32_t");
        return false;
    }
    value = converted;
    LogLine(s_log, 6, __func__, "Succesfully passed string value of:'", text, "' to:", value);
    return true;
}

RetryBehavior RetryPolicy::GetRetryBehavior(const HSMResponse& response)
{
    const std::string text = Header(response, X_RETRY_BEHAVIOR);
    if (text.empty()) {
        LogLine(s_log, 6, __func__, "X-Retry-Behavior header not found");
        return RetryBehavior::NotGiven;
    }
    LogLine(s_log, 6, __func__, "X-Retry-Behavior header found:", text);
    if (text == "constant") {
        return RetryBehavior::Constant;
    }
    if (text == "exponential") {
        return RetryBehavior::Exponential;
    }
    LogLine(s_log, 2, __func__, "X-Retry-Behavior header of:", text, " is not a valid option");
    return RetryBehavior::NotGiven;
}

bool RetryPolicy::HandleRetryHeaders(const HSMResponse& response, std::int64_t now, std::uint32_t& retryValue,
                                     bool& exhausted, RetryBehavior& behavior)
{
    bool isDetermined = false;
    bool checkRetryAfter = false;
    bool checkRetryCount = IsServerError(response.status);

    if (m_settings.m_HandleRateLimit && response.status == m_settings.m_RateLimitStatus) {
        m_state.rateLimited = true;
        std::uint32_t remaining = 0;
        if (ConvertToInt(Header(response, X_RATELIMIT_REMAINING), remaining)) {
            LogLine(s_log, 6, kHeaderStep, "X-Ratelimit-Remaining value is:", remaining);
            isDetermined = remaining == 0 && ReadRateLimitReset(response, now, retryValue);
            checkRetryAfter = !isDetermined;
            behavior = GetRetryBehavior(response);
        } else {
            LogLine(s_log, 4, kHeaderStep, "No valid X-Ratelimit-Remaining header found, check for X-Retry-Count");
            checkRetryCount = true;
        }
    } else if (!checkRetryCount) {
        return false;
    }

    if (checkRetryCount) {
        behavior = GetRetryBehavior(response);
        if (IsAnotherRetryAllowed(response)) {
            checkRetryAfter = true;
        } else {
            exhausted = true;
        }
    }

    if (!checkRetryAfter) {
        return isDetermined;
    }
    if (ConvertToInt(Header(response, RETRY_AFTER), retryValue)) {
        LogLine(s_log, 6, kHeaderStep, "Retry-After header is:", retryValue);
        return true;
    }
    LogLine(s_log, 6, kHeaderStep, "Retry-After header is not valid, defaulting to backOff retries");
    return isDetermined;
}

bool RetryPolicy::ReadRateLimitReset(const HSMResponse& response, std::int64_t now, std::uint32_t& retryValue) const
{
    LogLine(s_log, 2, kHeaderStep,
            "Rate limit is reached for the current request, request will be retried after rate limit ends");
    std::uint32_t reset = 0;
    if (!ConvertToInt(Header(response, X_RATELIMIT_RESET), reset)) {
        LogLine(s_log, 4, kHeaderStep, "X-Ratelimit-Reset value is not valid, check for Retry-After value");
        return false;
    }
    const std::int64_t ahead = std::int64_t{reset} - now;
    if (ahead <= 0) {
        LogLine(s_log, 1, kHeaderStep, "X-Ratelimit-Reset value of:", reset, " is less then the current time of:", now,
                " check for Retry-After value");
        return false;
    }
    retryValue = static_cast<std::uint32_t>(std::min<std::int64_t>(ahead, std::numeric_limits<std::uint32_t>::max()));
    return true;
}

bool RetryPolicy::IsAnotherRetryAllowed(const HSMResponse& response) const
{
    const std::uint32_t attempt = m_state.attemptCount;
    const std::string text = Header(response, X_RETRY_COUNT);
    bool isUnlimited = false;
    std::uint32_t count = 0;

    if (text == "-1") {
        LogLine(s_log, 6, kHeaderStep, "X-Retry-Count of -1 found, unlimted retries allowed for this request");
        isUnlimited = true;
    } else if (ConvertToInt(text, count)) {
        LogLine(s_log, 6, kHeaderStep, "X-Retry-Count header value found:", count);
    } else if (m_settings.m_RetryBackoffSeconds.empty()) {
        count = m_settings.m_RetryCountMax;
        LogLine(s_log, 6, kHeaderStep, "Retry-Count header is not valid, defaulting to m_RetryCountMax of:", count);
    } else {
        count = static_cast<std::uint32_t>(m_settings.m_RetryBackoffSeconds.size());
        LogLine(s_log, 6, kHeaderStep,
                "Retry-Count header is not valid, defaulting to back off retries count of:", count);
        if (m_settings.m_RetryBackoffRepeat) {
            LogLine(s_log, 4, kHeaderStep, "m_RetryBackoffRepeat set to true, unlimted retries allowed:", count);
            isUnlimited = true;
        }
    }

    if (isUnlimited) {
        LogLine(s_log, 6, kHeaderStep, "Attempting the:", attempt, " retry out of unlimted retries");
        return true;
    }
    if (attempt < count) {
        LogLine(s_log, 6, kHeaderStep, "Attempting the:", attempt, " out of:", count, " retries");
        return true;
    }
    LogLine(s_log, 3, kHeaderStep, "The max number of retries:", attempt, " reached, request will not be retried");
    return false;
}

RetryDecision RetryPolicy::Decide(const HSMResponse& response, std::int64_t now)
{
    if (IsSuccess(response.status) || m_settings.m_RetriesDisabled) {
        return {RetryDecision::Action::Finished, 0};
    }

    m_state.rateLimited = false;
    std::uint32_t retryValue = 0;
    bool exhausted = false;
    RetryBehavior behavior = RetryBehavior::NotGiven;
    if (HandleRetryHeaders(response, now, retryValue, exhausted, behavior)) {
        LogLine(s_log, 6, kDecisionStep, "Response retry headers were used to determine a retry value of:", retryValue);
        return RetryAfter(SleepForRetryValue(behavior, retryValue));
    }
    if (!exhausted) {
        LogLine(s_log, 6, kDecisionStep,
                "Valid request retry headers were not found, check for backOff retries to determine retry wait value");
        if (const auto backoff = TakeBackoffValue(response.status)) {
            return RetryAfter(SleepForBackoff(behavior, *backoff));
        }
        if (behavior != RetryBehavior::NotGiven && !m_state.rateLimited) {
            retryValue = m_settings.m_DefaultRetryValue;
            LogLine(s_log, 4, kDecisionStep, "Defaulting Retry After to m_DefaultRetryValue:", retryValue);
        }
    }
    return RetryAfter(retryValue == 0 ? 0 : SleepForRetryValue(behavior, retryValue));
}

std::optional<std::uint32_t> RetryPolicy::TakeBackoffValue(std::int32_t status)
{
    const auto& statuses = m_settings.m_RetryableStatuses;
    const auto& table = m_settings.m_RetryBackoffSeconds;
    if (!m_settings.m_RetryAnyStatus && std::find(statuses.begin(), statuses.end(), status) == statuses.end()) {
        return std::nullopt;
    }
    if (m_state.backoffIndex < table.size()) {
        return table[m_state.backoffIndex++];
    }
    if (!table.empty() && m_settings.m_RetryBackoffRepeat) {
        return table.back();
    }
    return std::nullopt;
}

std::uint32_t RetryPolicy::SleepForBackoff(RetryBehavior behavior, std::uint32_t value) const
{
    if (value == 0) {
        return 0;
    }
    if (!m_settings.m_HonourRetryBehavior) {
        LogLine(s_log, 4, kDecisionStep, "Ignoring X_RETRY_BEHAVIOR and using constant back off value of:", value);
        return value;
    }
    if (behavior == RetryBehavior::Exponential) {
        value = m_settings.m_RetryBackoffSeconds.front();
        LogLine(s_log, 4, kDecisionStep, "Using first back off value of:", value, " for exponential retry");
    }
    return CalculateRetrySleepValue(behavior, value);
}

std::uint32_t RetryPolicy::SleepForRetryValue(RetryBehavior behavior, std::uint32_t value) const
{
    LogLine(s_log, 6, kDecisionStep, "Using Retry-After value to calculate sleep value");
    return CalculateRetrySleepValue(behavior, value);
}

RetryDecision RetryPolicy::RetryAfter(std::uint32_t seconds)
{
    if (seconds == 0) {
        return {RetryDecision::Action::GiveUp, 0};
    }
    ++m_state.attemptCount;
    return {RetryDecision::Action::Retry, seconds};
}

std::uint32_t RetryPolicy::CalculateRetrySleepValue(RetryBehavior behavior, std::uint32_t value) const
{
    const std::uint32_t attempt = m_state.attemptCount;
    const std::uint32_t maximum = m_settings.m_MaximumSleep;
    // Wide enough for 2^32 - 1 times 2^29, and for the randomness on top of any cap.
    std::uint64_t seconds = value;

    switch (behavior) {
        case RetryBehavior::Constant:
            LogLine(s_log, 3, __func__, "Using constant retry after value of:", seconds,
                    " for retry attempt:", attempt);
            break;
        case RetryBehavior::Exponential:
            if (attempt > kHighestExponent) {
                LogLine(s_log, 2, __func__, "Retry attempt of:", attempt,
                        " is to high to calculate exponential retry value, setting Rety time to max of:", maximum);
                seconds = maximum;
            } else {
                seconds = static_cast<std::uint64_t>(value * std::pow(2.0, attempt));
                LogLine(s_log, 3, __func__, "Using exponential retry after value of:", seconds,
                        " for retry attempt:", attempt);
            }
            break;
        case RetryBehavior::NotGiven:
            LogLine(s_log, 3, __func__,
                    "Unsupported retry behavior set, defaulting to constant retry after value of:", seconds,
                    " for retry attempt:", attempt);
            break;
    }
    if (seconds > maximum) {
        LogLine(s_log, 2, __func__, "Retry after value of:", seconds, " exceededs limit of:", maximum,
                " setting retry after to the limit");
        seconds = maximum;
    }

    const auto factor = static_cast<std::uint64_t>(std::round(static_cast<float>(seconds) * kRandomness));
    const auto chance = static_cast<std::uint64_t>(m_random());
    if (m_state.rateLimited) {
        seconds += chance % (factor + 1);
    } else {
        seconds = seconds - factor + chance % (2 * factor + 1);
    }
    const auto result =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(seconds, std::numeric_limits<std::uint32_t>::max()));
    LogLine(s_log, 6, __func__, "Using a randomness factor of +-:", factor, " request will be retried in:", result);
    return result;
}
} // namespace Http
