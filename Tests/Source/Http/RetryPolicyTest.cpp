#include "RetryPolicy.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using Http::HeaderMap;
using Http::RetryDecision;
using Http::RetryPolicy;
using Header = HeaderMap::value_type;
using S = Http::RetrySettings;

constexpr std::int64_t kNow = 1800000000;
constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();

static const std::string kAfter = "Retry-After";
static const std::string kCount = "X-Retry-Count";
static const std::string kBehavior = "X-Retry-Behavior";
static const std::string kRemaining = "X-Ratelimit-Remaining";
static const std::string kReset = "X-Ratelimit-Reset";

/** The shortest and the longest wait that chance may give, or that there is none. */
using Wait = std::pair<std::uint32_t, std::uint32_t>;
constexpr Wait kGivesUp{0, 0};
constexpr Wait kFinished{0, kMax};

struct Case
{
    const char* name;
    std::int32_t status;
    HeaderMap headers;
    std::vector<Wait> waits; ///< after the first such response, after the second, and so on
    std::function<void(S&)> change = nullptr;
    std::uint32_t retriesMade = 0;
    std::int64_t now = kNow;
};

static Http::HSMResponse Response(std::int32_t status, const HeaderMap& headers)
{
    return {0, status, {}, headers, 0, {}, {}};
}

static void Check(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        S settings = S::WithBackoff();
        if (c.change) {
            c.change(settings);
        }
        // Chance as low as it comes, as high as it counts, and one more, which is the low end again.
        for (const std::uint32_t beyond : {0U, 1U, 2U}) {
            int chance = 0;
            RetryPolicy policy(settings, [&chance] { return chance; }, {0, c.retriesMade, false});
            for (const Wait& wait : c.waits) {
                const bool isRetry = wait.first != 0;
                chance = static_cast<int>(beyond == 0 || !isRetry ? 0 : wait.second - wait.first + beyond - 1);
                const auto [action, seconds] = policy.Decide(Response(c.status, c.headers), c.now);
                EXPECT_EQ(seconds, isRetry && beyond == 1 ? wait.second : wait.first);
                EXPECT_EQ(action, isRetry             ? RetryDecision::Action::Retry
                                  : wait == kFinished ? RetryDecision::Action::Finished
                                                      : RetryDecision::Action::GiveUp);
            }
        }
    }
}

// The tables are read by rows.
// clang-format off

TEST(RetryPolicy, Decides)
{
    const Header unlimited(kCount, "-1"), grow(kBehavior, "exponential");
    Check({
        {"last success", 299, {{kAfter, "5"}}, {kFinished}},
        {"less than success", 199, {{kAfter, "5"}}, {kGivesUp}},
        {"more than success", 300, {{kAfter, "5"}}, {kGivesUp}},
        {"switched off", 503, {{kAfter, "5"}}, {kFinished}, [](S& s) { s.m_RetriesDisabled = true; }},
        {"no answer, the table and then the end", 0, {}, {{10, 20}, {42, 78}, {168, 312}, {672, 1248}, kGivesUp}},
        {"not found, headers are not read", 404, {{kAfter, "5"}, {kBehavior, "constant"}}, {kGivesUp}},
        {"any status", 404, {}, {{1, 3}, kGivesUp},
         [](S& s) { s.m_RetryAnyStatus = true; s.m_RetryBackoffSeconds = {2}; }},
        {"status not in the list", 500, {}, {kGivesUp}},
        {"the repeated table goes on", 503, {}, {{1, 1}, {3, 5}, {3, 5}, {3, 5}},
         [](S& s) { s.m_RetryBackoffSeconds = {1, 4}; s.m_RetryBackoffRepeat = true; }},
        {"zero in the table", 503, {}, {kGivesUp}, [](S& s) { s.m_RetryBackoffSeconds = {0, 5}; }},
        {"behaviour not honoured", 503, {{kBehavior, "exponential"}}, {{50000, 50000}, {7, 7}, kGivesUp},
         [](S& s) { s.m_HonourRetryBehavior = false; s.m_RetryBackoffSeconds = {50000, 7}; }},
        {"more than 32 bits", 502, {{kAfter, "4294967296"}}, {{10, 20}}},
        {"name in another case", 504, {{"retry-after", "7"}}, {{10, 20}}},
        {"zero", 503, {{kAfter, "0"}}, {kGivesUp}},
        {"count", 503, {{kCount, "2"}, {kAfter, "7"}}, {{5, 9}, {5, 9}, kGivesUp}},
        {"no limit", 500, {unlimited, {kAfter, "1"}}, {{1, 1}}, {}, kMax - 1},
        {"count unreadable, length of the table", 500, {{kCount, "-2"}, {kAfter, "1"}}, {{1, 1}, kGivesUp},
         [](S& s) { s.m_RetryBackoffSeconds = {9}; }},
        {"no count, repeated table", 500, {{kAfter, "1"}}, {{1, 1}}, [](S& s) { s.m_RetryBackoffRepeat = true; }, 1000},
        {"no count, no table", 599, {{kAfter, "1"}}, {{1, 1}, {1, 1}, {1, 1}, {1, 1}, kGivesUp},
         [](S& s) { s.m_RetryBackoffSeconds = {}; }},
        {"grows to the cap", 503, {unlimited, grow, {kAfter, "10"}}, {{28672, 53248}, {30240, 56160}}, {}, 12},
        {"grows beyond all numbers", 503, {unlimited, grow, {kAfter, "4294967295"}},
         {{30240, 56160}, {30240, 56160}, {30240, 56160}}, {}, 28},
        {"grows, no count", 503, {grow, {kAfter, "10"}}, {{7, 13}, {14, 26}, {28, 52}, {56, 104}, kGivesUp}},
        {"grows from the table's first", 503, {grow}, {{10, 20}, {21, 39}, {42, 78}, {84, 156}, kGivesUp}},
        {"capital letter", 503, {{kBehavior, "Exponential"}, {kAfter, "10"}}, {{7, 13}, {7, 13}}},
        {"no time, the default", 500, {{kBehavior, "constant"}}, {{10, 20}, {10, 20}, {10, 20}, {10, 20}, kGivesUp}},
        {"default of zero", 500, {grow}, {kGivesUp}, [](S& s) { s.m_DefaultRetryValue = 0; }},
    });
}

TEST(RetryPolicy, DecidesOnRateLimits)
{
    const Header none(kRemaining, "0"), some(kRemaining, "3"), in100(kReset, std::to_string(kNow + 100));
    const auto serverError = [](S& s) { s.m_RateLimitStatus = 503; };
    Check({
        {"waits for the reset, never less, before Retry-After", 429, {none, in100, {kAfter, "5"}}, {{100, 130}}},
        {"reset is now", 429, {none, {kReset, std::to_string(kNow)}, {kAfter, "50"}}, {{50, 65}}},
        {"reset is more than a number", 429, {none, {kReset, "4294967295 s"}, {kAfter, "50"}}, {{50, 65}}},
        {"count is not read", 429, {some, in100, {kCount, "0"}, {kAfter, "10"}}, {{10, 13}}, {}, 99},
        {"no time, and no default for it", 429, {none, {kBehavior, "constant"}}, {kGivesUp}},
        {"remaining not told, count", 429, {{kCount, "2"}, {kAfter, "10"}}, {{10, 13}, {10, 13}, kGivesUp}},
        {"switched off", 429, {none, in100}, {kGivesUp}, [](S& s) { s.m_HandleRateLimit = false; }},
        {"is a server error too, count allows", 503, {none, in100, {kAfter, "20"}}, {{20, 26}}, serverError},
        {"is a server error too, count forbids", 503, {none, in100, {kCount, "0"}}, {{100, 130}}, serverError},
        {"beyond 2106", 429, {none, {kReset, "4294967295"}, {kAfter, "10"}}, {{10, 13}}, {}, 0, 4294967296},
        {"within 32 bits", 429, {{kAfter, "4294967295"}}, {{kMax, kMax}}, [](S& s) { s.m_MaximumSleep = kMax; }},
        {"far ahead", 429, {none, {kReset, "4294967295"}}, {{43200, 56160}}, {}, 0, 0},
    });
}

// clang-format on

TEST(RetryPolicy, ForgetsTheRateLimitOfAnEarlierResponse)
{
    RetryPolicy policy(S::WithBackoff(), [] { return 0; });
    EXPECT_EQ(policy.Decide(Response(429, {{kAfter, "100"}}), kNow).seconds, 100U);
    EXPECT_EQ(policy.Decide(Response(503, {{kAfter, "100"}}), kNow).seconds, 70U);
}

TEST(RetryPolicy, ConvertsWholeNumbersOnly)
{
    std::uint32_t value = 77;
    for (const char* text : {"4294967296", "", "-1", "+1", " 1", "1 ", "1.5", "1s", "0x10", "one"}) {
        EXPECT_FALSE(RetryPolicy::ConvertToInt(text, value)) << text;
    }
    EXPECT_EQ(value, 77U);
    EXPECT_TRUE(RetryPolicy::ConvertToInt("007", value) && value == 7);
}
