#include <gtest/gtest.h>

#include "Clock.h"
#include "Findings.h"

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
} // namespace

TEST(ReportFindings, EachRule_HasItsThreshold)
{
    EXPECT_EQ(Found({}), "") << "of what is not known, nothing is found";
    const auto disk = [](double percent, double inodes, bool isReadOnly = false) {
        return [=](Facts& facts) {
            facts.fileSystems = {{"/dev/a", "/data", "4.0M", "3M", "44K", percent, inodes, isReadOnly, {}}};
        };
    };
    const auto memory = [](double available, double swapFree) {
        return [=](Facts& facts) { facts.memory = {102400, available, 100, swapFree, {}}; };
    };
    const auto load = [](double five) {
        return [=](Facts& facts) {
            facts.load = {0, five, 0, {}};
            facts.processorCount = 2;
        };
    };
    const auto crashes = [](std::uint64_t count) {
        return [=](Facts& facts) { facts.log.emplace().crashes["A"] = {{count, 1}, {}}; };
    };
    const auto errors = [](std::uint64_t count) {
        return [=](Facts& facts) {
            Log& log = facts.log.emplace();
            log.lines[0] = log.minutes[0].lines[0] = count;
            log.errors["it # broke"] = {"it 1 broke", count, {}};
        };
    };
    const auto interface = [](bool isUp, bool hasCarrier) {
        return [=](Facts& facts) {
            facts.interfaces.resize(2);
            facts.interfaces[0].name = "lo";
            facts.interfaces[1].name = "wlan0";
            facts.interfaces[1].isUp = isUp;
            facts.interfaces[1].hasCarrier = hasCarrier;
        };
    };
    const auto clock = [](const char* now) {
        return [=](Facts& facts) {
            facts.collected = Clock::FromIso(now);
            facts.update.emplace().lastReleaseTime = Clock::FromIso("2026-11-18T00:00:00Z");
        };
    };
    const struct
    {
        std::function<void(Facts&)> set;
        const char* found;
    } cases[] = {
        {disk(89, 89), ""},
        {disk(90, 90), "W /data is 90 % full: 44K of 4.0M left\nW /data has 90 % of its inodes in use\n"},
        {disk(97, 0), "S /data is 97 % full: 44K of 4.0M left\n"},
        {disk(100, 100, true), ""},
        {memory(10240, 50), ""},
        {memory(10239, 49), "W Memory is short: 10 MiB of 100 MiB available\nW 51 % of the swap space is in use\n"},
        {memory(5119, 100), "S Memory is short: 5 MiB of 100 MiB available\n"},
        {load(2), ""},
        {load(2.01), "W Load 2.01 on 2 processors\n"},
        {load(4), "S Load 4 on 2 processors\n"},
        {crashes(2), "W A crashed: 2 times in the logs\n"},
        {crashes(3), "S A crashes again and again: 3 times in the logs\n"},
        {errors(9), "N 9 errors in the logs; most often: it 1 broke\n"},
        {errors(10), "S 10 errors in the logs, up to 10 a minute at 1970-01-01 00:00:00; most often: it 1 broke\n"},
        {interface(true, true), ""},
        {interface(true, false), "S The network is down: wlan0 has no link\n"},
        {interface(false, false), "S The network is down: wlan0 is off\n"},
        {clock("2026-11-19T00:00:00Z"), ""},
        {clock("2026-11-17T00:00:00Z"), "S The clock is not set: it says 2026-11-17 00:00:00\n"},
        {[](Facts& facts) { facts.update.emplace().status["lastResult"] = "Verification FAILED"; },
         "S Update: lastResult is \"Verification FAILED\"\n"},
        {[](Facts& facts) { facts.update.emplace().lastState = "RollbackDone"; },
         "S The update ended in the state \"RollbackDone\"\n"},
        {[](Facts& facts) { facts.killedForMemory = 1; },
         "W The kernel has killed a process for want of memory 1 time\n"},
        {[](Facts& facts) {
             facts.coreDumps = {{"/core.A", "30", "Nov 1", {}}};
         },
         "W 1 core dump, the first /core.A of Nov 1\n"},
        {[](Facts& facts) { facts.uptime = 599; }, "W The device has been up for 9 min only\n"},
        {[](Facts& facts) { facts.log.emplace().boots.resize(2); }, "W The device started 2 times within its logs\n"},
        {[](Facts& facts) {
             facts.processes = {{"7", "A", 80, {}, {}, {}}, {"8", "B", 79, {}, {}, {}}};
         },
         "W A takes 80 % of a processor\n"},
        {[](Facts& facts) {
             facts.pressures = {{"io", 40, {}}};
         },
         "N Processes waited for io in 40 % of the last minute\n"},
        {[](Facts& facts) {
             facts.interfaces.resize(1);
             facts.interfaces[0].received = 1000;
             facts.interfaces[0].receiveDrops = 1;
         },
         "W  lost 1 of 1000 packets\n"},
        {[](Facts& facts) {
             facts.hasDefaultRoute = false;
             facts.nameServers = 0;
         },
         "W There is no default route: nothing beyond the local network can be reached\n"
         "W There is no name server: no host can be found by its name\n"},
        {[](Facts& facts) { facts.ended["df ended with exit status 1"] = {}; }, "N df ended with exit status 1\n"},
    };
    for (const auto& one : cases) {
        Facts facts;
        one.set(facts);
        EXPECT_EQ(Found(facts), one.found);
    }
}

TEST(ReportFindings, BrokenArchive_ComesFirst)
{
    Collection collection;
    collection.documents.resize(2);
    collection.documents[0].item.entry.subType = "top";
    collection.documents[1].item.outcome = DfsOpen::Outcome::Whole;
    collection.faults = {"the archive is cut"};
    Facts facts;
    facts.load = {0, 3, 0, {}};
    facts.processorCount = 2;
    EXPECT_EQ(Found(facts, collection),
              "S Item \"top\": not in the archive\nS the archive is cut\nW Load 3 on 2 processors\n");
}
