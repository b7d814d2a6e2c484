#include "Clock.h"
#include "Findings.h"

#include <gtest/gtest.h>

namespace
{
using namespace DfsReport;

std::string Found(const Facts& facts, const Collection& collection = {})
{
    std::string found;
    for (const Finding& finding : Find(collection, facts)) {
        found += std::string(1, "SWN"[static_cast<int>(finding.weight)]) + ' ' + finding.text + '\n';
        EXPECT_FALSE(finding.rule.empty());
    }
    return found;
}

/** Facts of which one is known. */
template <class Fact>
Facts With(Fact Facts::*member, const std::common_type_t<Fact>& value)
{
    Facts facts;
    facts.*member = value;
    return facts;
}

Facts Disk(double percent, double inodePercent, bool isReadOnly = false)
{
    return With(&Facts::fileSystems, {{"/dev/a", "/data", "4.0M", "3M", "44K", percent, inodePercent, isReadOnly, {}}});
}

Facts Free(double memory, double swap)
{
    return With(&Facts::memory, Memory{102400, memory, 100, swap, {}});
}

Facts LoadOfTwoProcessors(double five)
{
    Facts facts = With(&Facts::load, LoadAverage{0, five, 0, {}});
    facts.processorCount = 2;
    return facts;
}

Facts Crashes(std::uint64_t count)
{
    Log log;
    log.crashes["A"] = {{count, 1}, {}};
    return With(&Facts::log, log);
}

Facts ErrorsInAMinute(std::uint64_t count)
{
    Log log;
    log.lines[0] = log.minutes[0].lines[0] = count;
    log.errors["it # broke"] = {"it 1 broke", count, {}};
    return With(&Facts::log, log);
}

Facts Wireless(bool isUp, bool hasCarrier)
{
    return With(&Facts::interfaces, {{"lo", {}, {}, 0, 0, 0, 0, true, true, {}, {}},
                                     {"wlan0", {}, {}, 0, 0, 0, 0, isUp, hasCarrier, {}, {}}});
}

Facts ReleasedAndCollected(const char* release, const char* collected)
{
    Facts facts = With(&Facts::collected, Clock::FromIso(collected));
    facts.update.emplace().lastReleaseTime = Clock::FromIso(release);
    return facts;
}
} // namespace

TEST(ReportFindings, EachRule_HasItsThreshold)
{
    Log twoBoots;
    twoBoots.boots.resize(2);
    const Update failed = {{{"lastResult", "Verification FAILED"}, {"lastError", "No error"}}, {}, {}, {}, {}, {}, {}};
    const Update rolledBack = {{}, "RollbackDone", {}, {}, {}, {}, {}};
    const std::pair<Facts, const char*> cases[] = {
        {{}, ""},
        {Disk(89, 89), ""},
        {Disk(90, 90), "W /data is 90 % full: 44K of 4.0M left\nW /data has 90 % of its inodes in use\n"},
        {Disk(97, 0), "S /data is 97 % full: 44K of 4.0M left\n"},
        {Disk(100, 100, true), ""},
        {Free(10240, 50), ""},
        {Free(10239, 49), "W Memory is short: 10 MiB of 100 MiB available\nW 51 % of the swap space is in use\n"},
        {Free(5119, 100), "S Memory is short: 5 MiB of 100 MiB available\n"},
        {LoadOfTwoProcessors(2), ""},
        {LoadOfTwoProcessors(2.01), "W Load 2.01 on 2 processors\n"},
        {LoadOfTwoProcessors(4), "S Load 4 on 2 processors\n"},
        {Crashes(2), "W A crashed: 2 times in the logs\n"},
        {Crashes(3), "S A crashes again and again: 3 times in the logs\n"},
        {ErrorsInAMinute(9), "N 9 errors in the logs; most often: it 1 broke\n"},
        {ErrorsInAMinute(10),
         "S 10 errors in the logs, up to 10 a minute at 1970-01-01 00:00:00; most often: it 1 broke\n"},
        {Wireless(true, true), ""},
        {Wireless(true, false), "S The network is down: wlan0 has no link\n"},
        {Wireless(false, false), "S The network is down: wlan0 is off\n"},
        {ReleasedAndCollected("2026-11-18T00:00:00Z", "2026-11-19T00:00:00Z"), ""},
        {ReleasedAndCollected("2026-11-18T00:00:00Z", "2026-11-17T00:00:00Z"),
         "S The clock is not set: it says 2026-11-17 00:00:00\n"},
        {With(&Facts::update, failed), "S Update: lastResult is \"Verification FAILED\"\n"},
        {With(&Facts::update, rolledBack), "S The update ended in the state \"RollbackDone\"\n"},
        {With(&Facts::killedForMemory, 1),
         "W Since the device started, the kernel has killed a process for want of memory 1 time\n"},
        {With(&Facts::coreDumps, {{{"/core.A", "30", "Nov 1", {}}}}), "W 1 core dump, the first /core.A of Nov 1\n"},
        {With(&Facts::uptime, 599), "W The device has been up for 9 min only\n"},
        {With(&Facts::log, twoBoots), "W The device started 2 times within its logs\n"},
        {With(&Facts::processes, {{"7", "A", 80, {}, {}, {}}, {"8", "B", 79, {}, {}, {}}}),
         "W A takes 80 % of a processor\n"},
        {With(&Facts::pressures, {{"io", 40, {}}}), "N Processes waited for io in 40 % of the last minute\n"},
        {With(&Facts::interfaces, {{"", 1000, {}, 0, 1, 0, 0, {}, {}, {}, {}}}), "W  lost 1 of 1000 packets\n"},
        {With(&Facts::hasDefaultRoute, false),
         "W There is no default route: nothing beyond the local network can be reached\n"},
        {With(&Facts::nameServers, 0), "W There is no name server: no host can be found by its name\n"},
        {With(&Facts::ended, {{"df ended with exit status 1", {}}}), "N df ended with exit status 1\n"},
    };
    for (const auto& [facts, found] : cases) {
        EXPECT_EQ(Found(facts), found);
    }
}

TEST(ReportFindings, BrokenArchive_ComesFirst)
{
    Collection collection;
    collection.documents.resize(2);
    collection.documents[0].item.entry.subType = "top";
    collection.documents[1].item.outcome = DfsOpen::Outcome::Whole;
    collection.faults = {"the archive is cut"};
    Facts facts = LoadOfTwoProcessors(3);
    facts.cuts = {{{0, 7}, 12}};
    EXPECT_EQ(Found(facts, collection),
              "S Item \"top\": not in the archive\nS the archive is cut\n"
              "W Item \"top\": 12 bytes missing at line 7\nW Load 3 on 2 processors\n");
}
