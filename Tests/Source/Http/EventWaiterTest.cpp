#include "EventWaiter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <limits>
#include <thread>

#include "CapturedLog.h"
#include "Deadline.h"
#include "Sanitized.h"

using Http::EventWaiter;
using Result = Http::EventWaiter::Result;

namespace
{
std::ptrdiff_t OpenDescriptors()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

constexpr int kForever = std::numeric_limits<int>::max();
} // namespace

TEST(EventWaiter, ReturnsAtOnceAfterWake_UntilCleared)
{
    CapturedLog log;
    EventWaiter waiter;
    EXPECT_EQ(waiter.Wait(0), Result::TimedOut);
    waiter.Wake();
    EXPECT_EQ(waiter.Wait(kForever), Result::Woken);
    EXPECT_EQ(waiter.Wait(kForever), Result::Woken);
    waiter.ClearWakeCalled();
    EXPECT_EQ(waiter.Wait(0), Result::TimedOut);
    EXPECT_THAT(log.LinesOf("EventWaiter"),
                testing::ElementsAre("6 Wait: Timeout reached", "6 Wake: Wake was called",
                                     "6 Wake: Wait not called yet and eventfd not created so write is not needed",
                                     "6 Wait: Wake was called before entering poll",
                                     "6 Wait: Wake was called before entering poll", "6 Wait: Timeout reached"));
}

TEST(EventWaiter, IsWokenWhileItWaits)
{
    CapturedLog log;
    const auto before = OpenDescriptors();
    EventWaiter waiter;
    auto waiting = std::async(std::launch::async, [&waiter] { return waiter.Wait(kForever); });
    ASSERT_TRUE(WaitUntil([&waiter] { return waiter.IsWaitInProgress(); }));
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    waiter.Wake();
    ASSERT_EQ(waiting.wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(waiting.get(), Result::Woken);
    EXPECT_EQ(waiter.Wait(kForever), Result::Woken);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(log.LinesOf("EventWaiter", "Wait"), testing::ElementsAre("6 Wake was called before timeout was reached",
                                                                         "6 Wake was called before entering poll"));
}

TEST(EventWaiter, LosesNoWake_WheneverItComes)
{
    const auto before = OpenDescriptors();
    for (int round = 0; round < 2000; ++round) {
        EventWaiter waiter;
        std::thread waker([&waiter] { waiter.Wake(); });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(waiter.Wait(1000), Result::Woken);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kDeadline);
        waker.join();
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(EventWaiter, ReportsThatThereIsNoDescriptor)
{
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs descriptors to look at memory";
    }
    const auto before = OpenDescriptors();
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    EventWaiter waiter;
    // The second time there is room for one of the two descriptors that a wait takes.
    for (const rlim_t room : {0U, 1U}) {
        CapturedLog log(0);
        const int next = dup(0);
        close(next);
        const rlimit few{static_cast<rlim_t>(next) + room, limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        const Result result = waiter.Wait(0);
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_THAT(log.LinesOf("EventWaiter"), testing::ElementsAre("0 Wait: Failed to create a valid eventfd"));
        EXPECT_EQ(result, Result::Error);
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(waiter.Wait(0), Result::TimedOut);
}
