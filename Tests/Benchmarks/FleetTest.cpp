#include "Simulation.h"

#include <gtest/gtest.h>

namespace Fleet
{
namespace
{
TEST(Simulation, EachUpload_TakesTwoRequestsOrGivesUp_AndDevicesWithoutASeedComeInACrowd)
{
    // A hundredth of the usual fleet and cloud.
    Setting setting;
    setting.devices = 1000;
    setting.capacity = 2;
    // The first two end before the outage does: the table of waits, and four retries of ten minutes each.
    const std::pair<Http::HSMResponse (*)(const Load&), std::uint32_t> cases[] = {
        {Unavailable, 0},    {RetryAfter, 0},     {RetryAfterUnlimited, 1000},
        {Exponential, 1000}, {SharedReset, 1000}, {ResetBySlot, 1000},
    };
    for (const auto& [refuse, uploaded] : cases) {
        const Outcome outcome = Simulate(setting, {"", refuse});
        EXPECT_EQ(outcome.uploaded, uploaded);
        EXPECT_EQ(outcome.gaveUp, setting.devices - uploaded);
        EXPECT_EQ(outcome.arrivals.size(), setting.length);
        EXPECT_GE(outcome.Requests(), setting.devices + uploaded);
        EXPECT_TRUE(uploaded == 0 || outcome.lastUpload >= setting.outage + 1000) << "not faster than the cloud serves";
    }
    const Outcome seeded = Simulate(setting, {"", RetryAfterUnlimited, true});
    const Outcome unseeded = Simulate(setting, {"", RetryAfterUnlimited, false});
    EXPECT_GT(unseeded.PeakOnceUp(setting), 3 * seeded.PeakOnceUp(setting));
    EXPECT_GT(unseeded.lastUpload, seeded.lastUpload);
}
} // namespace
} // namespace Fleet
