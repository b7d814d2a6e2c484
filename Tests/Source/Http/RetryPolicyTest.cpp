#include "RetryPolicy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "CapturedLog.h"

using Http::HeaderMap;
using Http::RetryBehavior;
using Http::RetryDecision;
using Http::RetryPolicy;
using Http::RetrySettings;
using Http::RetryState;

namespace
{
constexpr std::int64_t kNow = 1800000000;
constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();

/** The shortest and the longest wait that chance may give; {0, 0} for giving up. */
struct Wait
{
    std::uint32_t shortest;
    std::uint32_t longest;
};
constexpr Wait kGivesUp{0, 0};

struct Case
{
    const char* name;
    std::int32_t status;
    HeaderMap headers;
    /** After the first such response, after the second, and so on. */
    std::vector<Wait> waits;
    std::function<void(RetrySettings&)> change = nullptr;
    std::uint32_t retriesMade = 0;
    std::int64_t now = kNow;
};

using S = RetrySettings;

std::string At(std::int64_t secondsAhead)
{
    return std::to_string(kNow + secondsAhead);
}

Http::HSMResponse Response(std::int32_t status, const HeaderMap& headers = {})
{
    Http::HSMResponse response;
    response.status = status;
    response.headers = headers;
    return response;
}

void Check(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        RetrySettings settings = RetrySettings::WithBackoff();
        if (c.change) {
            c.change(settings);
        }
        // Chance as low as it comes, as high as it counts, and one more, which is the low end again.
        for (const std::uint32_t beyond : {0U, 1U, 2U}) {
            SCOPED_TRACE(c.name);
            int chance = 0;
            RetryPolicy policy(
                settings, [&chance] { return chance; }, RetryState{0, c.retriesMade, false});
            for (const auto& [shortest, longest] : c.waits) {
                chance = static_cast<int>(beyond == 0 ? 0 : longest - shortest + beyond - 1);
                const RetryDecision decision = policy.Decide(Response(c.status, c.headers), c.now);
                EXPECT_EQ(decision.seconds, beyond == 1 ? longest : shortest);
                EXPECT_EQ(decision.action,
                          shortest == 0 ? RetryDecision::Action::GiveUp : RetryDecision::Action::Retry);
            }
        }
    }
}
} // namespace

// The tables are read by rows.
// clang-format off

TEST(RetryPolicy, WithoutHeaders)
{
    Check({
        {"no answer, the table and then the end", 0, {}, {{10, 20}, {42, 78}, {168, 312}, {672, 1248}, kGivesUp}},
        {"not found, headers are not read", 404, {{"Retry-After", "5"}, {"X-Retry-Behavior", "constant"}}, {kGivesUp}},
        {"not found, any status is retried", 404, {}, {{1, 3}, kGivesUp},
         [](S& s) { s.m_RetryAnyStatus = true; s.m_RetryBackoffSeconds = {2}; }},
        {"server error that is not in the list", 500, {}, {kGivesUp}},
        {"an empty list matches nothing", 503, {}, {kGivesUp}, [](S& s) { s.m_RetryableStatuses = {}; }},
        {"the repeated table goes on", 503, {}, {{1, 1}, {3, 5}, {3, 5}, {3, 5}},
         [](S& s) { s.m_RetryBackoffSeconds = {1, 4}; s.m_RetryBackoffRepeat = true; }},
        {"zero in the table", 503, {}, {kGivesUp}, [](S& s) { s.m_RetryBackoffSeconds = {0, 5}; }},
        {"behaviour not honoured, values as they stand", 503, {{"X-Retry-Behavior", "exponential"}},
         {{50000, 50000}, {7, 7}, kGivesUp},
         [](S& s) { s.m_HonourRetryBehavior = false; s.m_RetryBackoffSeconds = {50000, 7}; }},
    });
}

TEST(RetryPolicy, RetryCount)
{
    Check({
        {"two allowed", 503, {{"X-Retry-Count", "2"}, {"Retry-After", "7"}}, {{5, 9}, {5, 9}, kGivesUp}},
        {"none allowed", 503, {{"X-Retry-Count", "0"}, {"Retry-After", "7"}}, {kGivesUp}},
        {"unlimited but no time, the table", 503, {{"X-Retry-Count", "-1"}},
         {{10, 20}, {42, 78}, {168, 312}, {672, 1248}, kGivesUp}},
        {"unlimited", 500, {{"X-Retry-Count", "-1"}, {"Retry-After", "1"}}, {{1, 1}}, {}, kMax - 1},
        {"absent, length of the table", 500, {{"Retry-After", "1"}}, {{1, 1}, {1, 1}, {1, 1}, {1, 1}, kGivesUp}},
        {"unreadable, length of the table", 500, {{"X-Retry-Count", "-2"}, {"Retry-After", "1"}}, {{1, 1}, kGivesUp},
         [](S& s) { s.m_RetryBackoffSeconds = {9}; }},
        {"absent and the table is repeated, unlimited", 500, {{"Retry-After", "1"}}, {{1, 1}},
         [](S& s) { s.m_RetryBackoffRepeat = true; }, 1000},
        {"absent and no table", 599, {{"Retry-After", "1"}}, {{1, 1}, {1, 1}, {1, 1}, {1, 1}, kGivesUp},
         [](S& s) { s.m_RetryBackoffSeconds = {}; }},
    });
}

TEST(RetryPolicy, RetryAfter)
{
    Check({
        {"date", 503, {{"Retry-After", "Fri, 15 Jan 2027 08:00:00 GMT"}}, {{10, 20}}},
        {"name in another case", 503, {{"retry-after", "7"}}, {{10, 20}}},
        {"zero", 503, {{"Retry-After", "0"}}, {kGivesUp}},
        {"beyond the cap", 503, {{"Retry-After", "4294967295"}}, {{30240, 56160}}},
        {"again and again", 503, {{"Retry-After", "100"}}, {{70, 130}, {70, 130}}},
    });
}

TEST(RetryPolicy, Behavior)
{
    const HeaderMap unlimited = {{"X-Retry-Count", "-1"}, {"X-Retry-Behavior", "exponential"}, {"Retry-After", "10"}};
    const HeaderMap hugely = {
        {"X-Retry-Count", "-1"}, {"X-Retry-Behavior", "exponential"}, {"Retry-After", "4294967295"}};
    Check({
        {"doubles", 503, unlimited, {{7, 13}, {14, 26}, {28, 52}, {56, 104}}},
        {"up to the cap", 503, unlimited, {{28672, 53248}, {30240, 56160}}, {}, 12},
        {"beyond all numbers", 503, hugely, {{30240, 56160}, {30240, 56160}, {30240, 56160}}, {}, 28},
        {"exponential without count", 503, {{"X-Retry-Behavior", "exponential"}, {"Retry-After", "10"}},
         {{7, 13}, {14, 26}, {28, 52}, {56, 104}, kGivesUp}},
        {"exponential without time, from the table's first", 503, {{"X-Retry-Behavior", "exponential"}},
         {{10, 20}, {21, 39}, {42, 78}, {84, 156}, kGivesUp}},
        {"capital letter", 503, {{"X-Retry-Behavior", "Exponential"}, {"Retry-After", "10"}}, {{7, 13}, {7, 13}}},
        {"no time and no table, the default", 500, {{"X-Retry-Behavior", "constant"}},
         {{10, 20}, {10, 20}, {10, 20}, {10, 20}, kGivesUp}},
        {"no time and no table, the default grows", 500, {{"X-Retry-Behavior", "exponential"}}, {{10, 20}, {21, 39}}},
        {"default of zero", 500, {{"X-Retry-Behavior", "constant"}}, {kGivesUp},
         [](S& s) { s.m_DefaultRetryValue = 0; }},
    });
}

TEST(RetryPolicy, RateLimit)
{
    const HeaderMap none = {{"X-Ratelimit-Remaining", "0"}};
    const auto with = [](HeaderMap headers, const HeaderMap& more) {
        headers.insert(more.begin(), more.end());
        return headers;
    };
    const auto serverError = [](S& s) { s.m_RateLimitStatus = 503; };
    Check({
        {"waits for the reset, never less", 429, with(none, {{"X-Ratelimit-Reset", At(100)}}), {{100, 130}}},
        {"reset before Retry-After", 429, with(none, {{"X-Ratelimit-Reset", At(100)}, {"Retry-After", "5"}}),
         {{100, 130}}},
        {"reset is now", 429, with(none, {{"X-Ratelimit-Reset", At(0)}, {"Retry-After", "50"}}), {{50, 65}}},
        {"reset unreadable", 429, with(none, {{"X-Ratelimit-Reset", "soon"}, {"Retry-After", "50"}}), {{50, 65}}},
        {"some remain", 429, {{"X-Ratelimit-Remaining", "3"}, {"X-Ratelimit-Reset", At(100)}, {"Retry-After", "10"}},
         {{10, 13}}},
        {"count is not read", 429, {{"X-Ratelimit-Remaining", "3"}, {"X-Retry-Count", "0"}, {"Retry-After", "10"}},
         {{10, 13}}, {}, 99},
        {"no time, and no default for it", 429, with(none, {{"X-Retry-Behavior", "constant"}}), {kGivesUp}},
        {"remaining not told, count", 429, {{"X-Retry-Count", "2"}, {"Retry-After", "10"}},
         {{10, 13}, {10, 13}, kGivesUp}},
        {"no headers", 429, {}, {kGivesUp}},
        {"switched off", 429, with(none, {{"X-Ratelimit-Reset", At(100)}}), {kGivesUp},
         [](S& s) { s.m_HandleRateLimit = false; }},
        {"server error as the status, count allows Retry-After", 503,
         with(none, {{"X-Ratelimit-Reset", At(100)}, {"Retry-After", "20"}}), {{20, 26}}, serverError},
        {"server error as the status, reset outlives the count", 503,
         with(none, {{"X-Ratelimit-Reset", At(100)}, {"X-Retry-Count", "0"}}), {{100, 130}}, serverError},
        {"beyond 2038", 429, with(none, {{"X-Ratelimit-Reset", "2500000100"}}), {{100, 130}}, {}, 0, 2500000000},
        {"beyond 2106", 429, with(none, {{"X-Ratelimit-Reset", "4294967295"}, {"Retry-After", "10"}}),
         {{10, 13}}, {}, 0, 4294967296},
        {"far ahead", 429, with(none, {{"X-Ratelimit-Reset", "4294967295"}}), {{43200, 56160}}, {}, 0, 0},
    });
}

// clang-format on

TEST(RetryPolicy, LeavesSuccessAlone_AndEverythingWhenSwitchedOff)
{
    RetrySettings settings = RetrySettings::WithBackoff();
    for (const std::int32_t status : {200, 204, 299}) {
        EXPECT_EQ(RetryPolicy(settings).Decide(Response(status, {{"Retry-After", "5"}}), kNow).action,
                  RetryDecision::Action::Finished);
    }
    settings.m_RetriesDisabled = true;
    EXPECT_EQ(RetryPolicy(settings).Decide(Response(503), kNow).action, RetryDecision::Action::Finished);
}

TEST(RetryPolicy, ForgetsTheRateLimitOfAnEarlierResponse)
{
    RetryPolicy policy(RetrySettings::WithBackoff(), [] { return 0; });
    EXPECT_EQ(policy.Decide(Response(429, {{"Retry-After", "100"}}), kNow).seconds, 100U);
    EXPECT_EQ(policy.Decide(Response(503, {{"Retry-After", "100"}}), kNow).seconds, 70U);
}

TEST(RetryPolicy, StaysWithin32Bits)
{
    RetrySettings settings;
    settings.m_MaximumSleep = kMax;
    const RetryPolicy low(settings, [] { return 0; });
    EXPECT_NEAR(low.CalculateRetrySleepValue(RetryBehavior::Constant, kMax), kMax * 0.7, 300);
    const RetryPolicy high(
        settings, [] { return RAND_MAX; }, RetryState{0, 5, true});
    EXPECT_EQ(high.CalculateRetrySleepValue(RetryBehavior::Exponential, kMax), kMax);
}

TEST(RetryPolicy, ConvertsWholeNumbersOnly)
{
    const struct
    {
        const char* text;
        bool isNumber;
        std::uint32_t value;
    } cases[] = {
        {"0", true, 0},   {"007", true, 7},   {"4294967295", true, kMax}, {"4294967296", false, 0}, {"", false, 0},
        {"-1", false, 0}, {"+1", false, 0},   {" 1", false, 0},           {"1 ", false, 0},         {"1.5", false, 0},
        {"1s", false, 0}, {"0x10", false, 0}, {"one", false, 0},
    };
    for (const auto& [text, isNumber, expected] : cases) {
        std::uint32_t value = 77;
        EXPECT_EQ(RetryPolicy::ConvertToInt(text, value), isNumber) << text;
        EXPECT_EQ(value, isNumber ? expected : 77) << text;
    }
}

TEST(RetryPolicy, TellsEveryStep)
{
    CapturedLog log;
    RetrySettings settings = RetrySettings::WithBackoff();
    RetryPolicy policy(settings, [] { return 0; });
    policy.Decide(Response(429, {{"X-Ratelimit-Remaining", "0"}, {"X-Ratelimit-Reset", "17"}}), 18);
    policy.Decide(Response(503, {{"X-Retry-Count", "one"}, {"X-Retry-Behavior", "random"}}), kNow);
    policy.Decide(Response(503, {{"X-Retry-Count", "1"}}), kNow);
    EXPECT_THAT(
        log.LinesOf("RunTask"),
        testing::ElementsAre(
            "6 ConvertToInt: Succesfully passed string value of:'0' to:0",
            "6 HandleRetryHeaders: X-Ratelimit-Remaining value is:0",
            "2 HandleRetryHeaders: Rate limit is reached for the current request, request will be retried after rate "
            "limit ends",
            "6 ConvertToInt: Succesfully passed string value of:'17' to:17",
            "1 HandleRetryHeaders: X-Ratelimit-Reset value of:17 is less then the current time of:18 check for "
            "Retry-After value",
            "6 GetRetryBehavior: X-Retry-Behavior header not found",
            "6 HandleRetryHeaders: Retry-After header is not valid, defaulting to backOff retries",
            "6 CheckIfRetryNeededAndSleep: Valid request retry headers were not found, check for backOff retries to "
            "determine retry wait value",

            "6 GetRetryBehavior: X-Retry-Behavior header found:random",
            "2 GetRetryBehavior: X-Retry-Behavior header of:random is not a valid option",
            "1 ConvertToInt: String value of:one is not a valid uint32_t",
            "6 HandleRetryHeaders: Retry-Count header is not valid, defaulting to back off retries count of:4",
            "6 HandleRetryHeaders: Attempting the:0 out of:4 retries",
            "6 HandleRetryHeaders: Retry-After header is not valid, defaulting to backOff retries",
            "6 CheckIfRetryNeededAndSleep: Valid request retry headers were not found, check for backOff retries to "
            "determine retry wait value",
            "3 CalculateRetrySleepValue: Unsupported retry behavior set, defaulting to constant retry after value "
            "of:15 for retry attempt:0",
            "6 CalculateRetrySleepValue: Using a randomness factor of +-:5 request will be retried in:10",

            "6 GetRetryBehavior: X-Retry-Behavior header not found",
            "6 ConvertToInt: Succesfully passed string value of:'1' to:1",
            "6 HandleRetryHeaders: X-Retry-Count header value found:1",
            "3 HandleRetryHeaders: The max number of retries:1 reached, request will not be retried"));
}
