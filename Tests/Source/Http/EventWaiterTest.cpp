#include "Deadline.h"
#include "EventWaiter.h"
#include "Sanitized.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using Http::EventWaiter;
using Result = Http::EventWaiter::Result;

constexpr int kLong = kDeadline.count();

/** What happens when a wait makes its event: after its first look at the wake flag, before its second. */
static std::function<void()> s_atEvent;

int eventfd(unsigned int count, int flags) noexcept
{
    if (s_atEvent) {
        s_atEvent();
    }
    return static_cast<int>(syscall(SYS_eventfd2, count, flags));
}

TEST(EventWaiter, LosesNoWake_WheneverItComes_AndNoDescriptor)
{
    const auto before = NamesIn("/proc/self/fd").size();
    EventWaiter waiter;
    EXPECT_EQ(waiter.Wait(0), Result::TimedOut);
    s_atEvent = [&waiter] { waiter.Wake(); };
    EXPECT_EQ(waiter.Wait(1), Result::Woken) << "by a Wake that saw no wait in progress";
    s_atEvent = nullptr;
    EXPECT_EQ(waiter.Wait(kLong), Result::Woken) << "until it is cleared";
    waiter.ClearWakeCalled();
    EXPECT_EQ(waiter.Wait(0), Result::TimedOut);
    for (int round = 0; round < 2000; ++round) {
        EventWaiter other;
        std::thread waker([&] {
            while (round % 2 == 0 && !other.IsWaitInProgress()) {
            }
            other.Wake();
        });
        EXPECT_EQ(other.Wait(kLong), Result::Woken);
        waker.join();
    }
    EXPECT_EQ(NamesIn("/proc/self/fd").size(), before);
}

TEST(EventWaiter, ReportsThatThereIsNoDescriptor)
{
    SKIP_IF_SANITIZED("a sanitizer needs descriptors to look at memory");
    EventWaiter waiter;
    const int next = dup(0);
    close(next);
    // A wait takes two descriptors.
    for (const rlim_t room : {0U, 1U, 2U}) {
        const rlimit few{static_cast<rlim_t>(next) + room, static_cast<rlim_t>(next) + 2};
        setrlimit(RLIMIT_NOFILE, &few);
        EXPECT_EQ(waiter.Wait(0), room < 2 ? Result::Error : Result::TimedOut);
    }
}
