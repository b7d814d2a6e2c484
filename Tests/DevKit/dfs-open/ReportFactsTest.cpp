#include "Clock.h"
#include "FactReader.h"
#include "LogLine.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace
{
using namespace DfsReport;
using namespace testing;
using std::nullopt;

Document Item(const std::string& subType, const std::string& text)
{
    Document document;
    document.item.entry = {"dfs_" + subType, "TOP", subType};
    document.item.outcome = DfsOpen::Outcome::Whole;
    document.text = text;
    return document;
}

/** An item of the fuzz target's corpus: its sub-type is the first line. */
Document Item(const std::string& file)
{
    const std::string content = ReadWholeFile(CORPUS "/" + file);
    const std::size_t end = content.find('\n');
    return Item(content.substr(0, end), content.substr(end + 1));
}

Facts Read(const std::vector<Document>& documents)
{
    Collection collection;
    collection.documents = documents;
    return ReadFacts(collection);
}

Facts Read(const char* subType, const std::string& text)
{
    return Read({Item(subType, text)});
}

auto Line(std::size_t number)
{
    return Field(&Place::line, number);
}
} // namespace

TEST(ReportFacts, DebianAndTheDevicesOwnFiles_AreRead)
{
    const Facts facts = Read({Item("memory-disk"), Item("mpstat"), Item("top"), Item("network"), Item("core-dumps"),
                              Item("mfg-data"), Item("version"), Item("update-status"), Item("releases")});
    EXPECT_THAT(facts.unread, IsEmpty());
    EXPECT_THAT(facts.memory, Optional(FieldsAre(512000, 25600, 1000, 250, Line(2))));
    EXPECT_THAT(facts.killedForMemory, Optional(8));
    EXPECT_THAT(
        facts.fileSystems,
        ElementsAre(FieldsAre("tmpfs", "/data/\"'<script", "12G", "11G", "\"'<script", 91, nullopt, false, Line(13)),
                    FieldsAre("/dev/vda", "/usr", "252G", "27G", "70G", 28, 95, true, Line(14))));
    EXPECT_THAT(facts.processors, ElementsAre(FieldsAre("all", DoubleEq(75.13), 21, 1, 2.87, _),
                                              FieldsAre("\"'<script", 82, 18, 0, 0, _)));
    EXPECT_THAT(facts.processorCount, Optional(2));
    EXPECT_THAT(facts.sampled, ElementsAre(FieldsAre("1187", "\"'<script", 99, nullopt, nullopt, _)));
    EXPECT_THAT(facts.load, Optional(FieldsAre(8.53, 7, 4.03, _)));
    EXPECT_THAT(facts.pressures, ElementsAre(FieldsAre("io", 41.5, _)));
    EXPECT_THAT(facts.processes, ElementsAre(FieldsAre("16", "\"'<script", 93.7, 18136, 767168, _)));
    EXPECT_THAT(facts.interfaces,
                ElementsAre(FieldsAre("\"'<script", 19, 29, 1, 2, 3, 4, nullopt, nullopt, IsEmpty(), _),
                            FieldsAre("wlan0", nullopt, nullopt, 0, 0, 0, 0, true, false,
                                      ElementsAre("192.0.2.7/24\"'<script", "fe80::1/64"), _),
                            FieldsAre("eth0", nullopt, nullopt, 0, 0, 0, 0, true, true, IsEmpty(), _),
                            FieldsAre("usb0", nullopt, nullopt, 0, 0, 0, 0, false, false, IsEmpty(), _)));
    EXPECT_THAT(facts.hasDefaultRoute, Optional(true));
    EXPECT_THAT(facts.nameServers, Optional(1));
    EXPECT_THAT(facts.coreDumps, Optional(SizeIs(1)));
    EXPECT_EQ(*facts.productName + ' ' + *facts.productType + ' ' + *facts.serialNumber + ' ' + *facts.guid,
              "VRD9\"'<script \"'<script 0842\"'<script 7c1f\"'<script");
    EXPECT_EQ(*facts.version, "1.0.67-10452+c5f2e8b\"'<script");
    EXPECT_EQ(Clock::Text(*facts.collected) + ", " + Clock::Duration(static_cast<Seconds>(*facts.uptime)),
              "2026-11-22 01:16:29, 6 h 8 min");
    EXPECT_EQ(facts.update->status.at("lastResult") + ", " + facts.update->lastRelease,
              "failed \"'<script, 1.0.67\"'<script");
    EXPECT_EQ(Clock::Text(*facts.update->lastReleaseTime), "2026-11-18 03:17:55");
}

TEST(ReportFacts, BusyBox_IsRead)
{
    const Facts facts =
        Read({Item("memory-disk-busybox"), Item("mpstat-busybox"), Item("top-busybox"), Item("network-busybox")});
    EXPECT_THAT(facts.unread, IsEmpty());
    // One file system at several places, a name that takes a line of its own, two without a device that look alike.
    const auto disk = [](const char* mount, const char* available, double percent, std::size_t line) {
        return FieldsAre(_, mount, _, _, available, percent, nullopt, false, Line(line));
    };
    EXPECT_THAT(facts.fileSystems, ElementsAre(disk("/usr", "69.0G", 28, 3), disk("/data", "11.8G", 0, 6),
                                               disk("/run", "0", 100, 7), disk("/tmp", "0", 100, 8)));
    // Without mpstat: two samples.
    EXPECT_THAT(facts.processors, ElementsAre(FieldsAre("all", 60, 20, 10, 10, _), FieldsAre("0", 60, 20, 10, 10, _)));
    // Its shares are of all processors together.
    EXPECT_THAT(facts.processes, ElementsAre(FieldsAre("1", "bwrap", 8, nullopt, 766976, _),
                                             FieldsAre("12", "busybox", 0, nullopt, 3300, _)));
    EXPECT_THAT(facts.interfaces,
                ElementsAre(FieldsAre("eth0", nullopt, nullopt, 0, 0, 0, 0, true, true, ElementsAre("192.0.2.7"), _)));
    EXPECT_THAT(facts.hasDefaultRoute, Optional(true));
}

TEST(ReportFacts, WhatIsNotThere_IsToldApartFromWhatIsNotUnderstood)
{
    const std::pair<std::string, std::string> misunderstood[] = {
        {"/proc/meminfo", "MemTotal: 512000 kB"},
        {"file systems", "df: no such thing"},
        {"/proc/loadavg", "-1 2 3 7/153 68"},
        {"/proc/loadavg", "1 2 1000000000000001 7/153 68"},
    };
    for (const auto& [title, text] : misunderstood) {
        EXPECT_THAT(Read("x", std::string("==> ").append(title).append(" <==\n").append(text).append("\n")).unread,
                    ElementsAre("the section \"" + title + "\" of the item \"x\""));
    }
    EXPECT_THAT(Read("top", "\n==== processes ====\nPID VIRT RES %CPU COMMAND\n7 0.6g 17628 3.0 init\n").processes,
                ElementsAre(FieldsAre("7", "init", 3, 17628, Optional(DoubleEq(0.6 * 1024 * 1024)), _)));
    EXPECT_THAT(Read("net", "==> routes <==\n192.0.2.0/24 dev wlan0\n").hasDefaultRoute, Optional(false));
    for (const char* text : {"an IP\n==== routes ====\n192.0.2.0/24 dev wlan0\n",
                             "==> routes <==\nthis device has no ip nor route\n"
                             "==> IPv6 routes <==\n::/0  ::  !n  -1  1  0 lo\n"}) {
        EXPECT_EQ(Read("net", text).hasDefaultRoute, nullopt);
    }
    EXPECT_FALSE(Read("logs", "==> system log <==\nNo journal files were found.\n-- No entries --\n").log);
    EXPECT_THAT(Read("large", "\ndiag-seal: x bytes are missing here\ndiag-seal: 34 bytes are missing here\n3\n").cuts,
                ElementsAre(Pair(Line(3), 34)));
    const std::string none = "ls: /data/logs/core*: No such file or directory\n";
    EXPECT_THAT(Read("coredumpfilelist", none + "diag-seal: the command ended with exit status 1\n").coreDumps,
                Optional(IsEmpty()));
}

TEST(ReportFacts, LogLine_HasItsTimeMessageAndSeverity)
{
    const LogClock clock{*Clock::FromIso("2026-01-02T00:00:00Z"), *Clock::FromIso("2026-01-01T00:00:00Z")};
    const std::pair<const char*, const char*> cases[] = {
        {"Jan  1 22:14:03 vantor A[11]: underrun on output 0", "2026-01-01 22:14:03|W|A[11]: underrun on output 0"},
        {"Dec 31 22:14:03 vantor A: no error", "2025-12-31 22:14:03|-|A: no error"},
        {"Jan  1 01:16:51 vantor daemon.err A: it is fine", "2026-01-01 01:16:51|E|A: it is fine"},
        {"Jan  1 01:16:51 vantor user.info A: no error", "2026-01-01 01:16:51|-|A: no error"},
        {"2026-01-01T02:00:00+0100 vantor kernel: I/O error", "2026-01-01 02:00:00|E|kernel: I/O error"},
        {"[   61.25] usb 1-1: device descriptor read failed",
         "2026-01-01 00:01:01|E|usb 1-1: device descriptor read failed"},
        {"[ nothing ] with 0 errors", "?|-|[ nothing ] with 0 errors"},
        {"Foo 99 99:99:99 x", "?|-|Foo 99 99:99:99 x"},
    };
    for (const auto& [text, told] : cases) {
        const LogLine line = ParseLogLine(text, clock);
        EXPECT_EQ((line.time ? Clock::Text(*line.time) : "?") + '|' + "EW-"[static_cast<int>(line.severity)] + '|' +
                      std::string(line.message),
                  told);
    }
    // Without the year of the collection, none is made up.
    const LogLine yearless = ParseLogLine("Jan  1 22:14:03 vantor A: ok", {});
    EXPECT_FALSE(yearless.time);
    EXPECT_EQ(yearless.message, "A: ok");
    EXPECT_EQ(Clock::Text(*Clock::FromFileName("dfs_top_20261122011629.txt")), "2026-11-22 01:16:29");
    EXPECT_FALSE(Clock::FromFileName("dfs_top_20260230011629.txt"));
    EXPECT_EQ(Signature("read 12 of 0xbec5 at sector 900"), "read # of # at sector #");
}

TEST(ReportFacts, Logs_CountALineOnceAndACrashOnce)
{
    const Facts facts = Read(
        "logread",
        "\n==> date <==\nSun Nov 22 01:16:29 UTC 2026\n\n==> /proc/uptime <==\n3600 1\n\n==> /var/log/messages <==\n"
        "Nov 19 22:14:03 vantor kernel: [    0.000000] Linux version 6.1\n"
        "Nov 20 22:14:03 vantor kernel: [    0.000000] Linux version 6.1\n"
        "Nov 20 22:14:03 vantor systemd[1]: B.service: Main process exited, code=exited, status=0/SUCCESS\n"
        "Nov 20 22:14:03 vantor kernel: A[1187]: segfault at 0 ip 1\n"
        "Nov 20 22:14:05 vantor systemd[1]: A.service: Main process exited, code=dumped, status=11/SEGV\n"
        "Nov 20 22:14:03 vantor kernel: A[1187]: segfault at 0 ip 1\n"
        "\n==> system log <==\n2026-11-20T22:14:01+0000 vantor kernel: Linux version 6.1\n"
        "2026-11-20T22:14:03+0100 vantor kernel: A[1187]: segfault at 0 ip 1\n"
        "2026-11-20T22:14:05+0100 vantor systemd[1]: A.service: Main process exited, code=dumped, status=11/SEGV\n"
        "2026-11-20T22:20:00+0000 vantor B: fine\n-- No entries --\n"
        "\n==> kernel messages <==\n[    0.000000] Booting Linux\n[    0.000000] Linux version 6.1\n"
        "[  100.000000] A[1187]: segfault at 0 ip 1\n"
        "\n==> kernel messages <==\ndmesg: not permitted\ndmesg ended with exit status 1\n");
    EXPECT_THAT(facts.log->lines, ElementsAre(3, 0, 5));
    EXPECT_EQ(facts.log->boots.size(), 2U);
    ASSERT_EQ(facts.log->minutes.size(), 4U);
    EXPECT_EQ(std::next(facts.log->minutes.begin())->second.first.line, 12U);
    EXPECT_EQ(facts.log->crashes.size(), 1U);
    EXPECT_EQ(facts.log->crashes.at("A").Count(), 2U);
    EXPECT_EQ(facts.log->errors.at("kernel: A[#]: segfault at # ip #").count, 2U);
    EXPECT_THAT(facts.ended.begin()->first, HasSubstr("kernel messages: dmesg ended with exit status 1"));
}

TEST(ReportFacts, EveryList_HasABound)
{
    std::string log = "==> system log <==\n",
                disks = "==> file systems <==\nFilesystem Size Used Avail Use% Mounted on\n";
    for (Seconds minute = 0; minute < 50001; ++minute) {
        std::string time = Clock::Text(1600000000 + minute * Clock::kMinute);
        time[10] = 'T';
        // Digits do not tell errors apart.
        const auto letter = [minute](Seconds step) { return static_cast<char>('a' + minute / step % 26); };
        log += time + "+0000 v A: error " + letter(1) + letter(26) + letter(Seconds{26} * 26) + '\n';
        disks += "disk 100 50 50 50% /mnt/" + std::to_string(minute) + '\n';
    }
    const Facts facts = Read("all", log + disks.substr(0, std::size_t{1000} * 1000));
    EXPECT_EQ(facts.log->minutes.size(), 50000U);
    EXPECT_EQ(facts.log->undated, 1U);
    EXPECT_EQ(facts.log->errors.size(), 2000U);
    EXPECT_THAT(facts.log->lines, ElementsAre(50001, 0, 0));
    EXPECT_EQ(facts.fileSystems.size(), 1000U);
}
