#include "Simulation.h"

#include <gtest/gtest.h>

namespace Fleet
{
namespace
{
/** A hundredth of the usual fleet and cloud. */
Setting SmallSetting()
{
    Setting setting;
    setting.devices = 1000;
    setting.capacity = 2;
    return setting;
}

TEST(Simulation, EachUpload_TakesTwoRequestsOrGivesUp)
{
    struct Row
    {
        const char* description;
        Http::HSMResponse (*refuse)(const Load& load);
        std::uint32_t uploaded;
        std::uint32_t gaveUp;
    };
    constexpr Row kRows[] = {
        {"the table ends before the outage", Unavailable, 0, 1000},
        {"four retries of ten minutes each do, too", RetryAfter, 0, 1000},
        {"all come back, as often as it takes", RetryAfterUnlimited, 1000, 0},
        {"waits that double still end", Exponential, 1000, 0},
        {"one crowd each ten minutes", SharedReset, 1000, 0},
        {"a queue", ResetBySlot, 1000, 0},
    };
    const Setting setting = SmallSetting();
    for (const Row& row : kRows) {
        const Outcome outcome = Simulate(setting, {row.description, row.refuse});
        EXPECT_EQ(outcome.uploaded, row.uploaded) << row.description;
        EXPECT_EQ(outcome.gaveUp, row.gaveUp) << row.description;
        EXPECT_EQ(outcome.arrivals.size(), setting.length) << row.description;
        EXPECT_GE(outcome.Requests(), setting.devices + row.uploaded) << row.description;
        // Not faster than the cloud serves.
        EXPECT_TRUE(row.uploaded == 0 || outcome.lastUpload >= setting.outage + 1000) << row.description;
    }
}

TEST(Simulation, DevicesWithoutASeed_ComeInACrowd)
{
    const Setting setting = SmallSetting();
    const Outcome seeded = Simulate(setting, {"", RetryAfterUnlimited, true});
    const Outcome unseeded = Simulate(setting, {"", RetryAfterUnlimited, false});
    EXPECT_GT(unseeded.PeakOnceUp(setting), 3 * seeded.PeakOnceUp(setting));
    EXPECT_GT(unseeded.lastUpload, seeded.lastUpload);
}
} // namespace
} // namespace Fleet
