#include "Clock.h"
#include "FactReader.h"
#include "LogLine.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sstream>

namespace
{
using namespace DfsReport;
using testing::ElementsAre;
using testing::HasSubstr;

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

Facts Read(const Document& document)
{
    Collection collection;
    collection.documents = {document};
    return ReadFacts(collection);
}

template <class Number>
std::ostream& operator<<(std::ostream& out, const std::optional<Number>& number)
{
    return number ? out << *number : out << '-';
}

/** What the facts say, in a line for each, so that one table serves all readers. */
std::string Told(const Facts& facts)
{
    std::ostringstream told;
    if (const auto& memory = facts.memory) {
        told << "memory " << memory->total << ' ' << memory->available << ' ' << memory->swapTotal << ' '
             << memory->swapFree << " L" << memory->place.line << '\n';
    }
    for (const FileSystem& disk : facts.fileSystems) {
        told << "disk " << disk.mount << ' ' << disk.available << ' ' << disk.percent << ' ' << disk.inodePercent
             << (disk.isReadOnly ? " ro" : "") << " L" << disk.place.line << '\n';
    }
    if (facts.load) {
        told << "load " << facts.load->five << '\n';
    }
    for (const Processor& cpu : facts.processors) {
        told << "cpu " << cpu.name << ' ' << cpu.user << ' ' << cpu.system << ' ' << cpu.wait << ' ' << cpu.idle
             << '\n';
    }
    for (const Pressure& pressure : facts.pressures) {
        told << "pressure " << pressure.resource << ' ' << pressure.lastMinute << '\n';
    }
    for (const auto* list : {&facts.processes, &facts.sampled}) {
        for (const Process& process : *list) {
            told << "process " << process.pid << ' ' << process.name << ' ' << process.processor << ' '
                 << process.resident << ' ' << process.virtualSize << '\n';
        }
    }
    for (const Interface& interface : facts.interfaces) {
        told << "interface " << interface.name << " up " << interface.isUp << " link " << interface.hasCarrier;
        for (const std::string& address : interface.addresses) {
            told << ' ' << address;
        }
        told << " received " << interface.received << ' ' << interface.receiveErrors << ' ' << interface.receiveDrops
             << " sent " << interface.sent << ' ' << interface.sendErrors << ' ' << interface.sendDrops << '\n';
    }
    if (facts.hasDefaultRoute || facts.nameServers || facts.processorCount || facts.killedForMemory) {
        told << "route " << facts.hasDefaultRoute << ", name servers " << facts.nameServers << ", processors "
             << facts.processorCount << ", killed " << facts.killedForMemory << '\n';
    }
    told << (facts.log ? "log\n" : "");
    if (facts.coreDumps) {
        told << facts.coreDumps->size() << " dumps\n";
    }
    for (const auto& [place, bytes] : facts.cuts) {
        told << "cut " << bytes << " L" << place.line << '\n';
    }
    for (const std::string& section : facts.unread) {
        told << "unread " << section << '\n';
    }
    return told.str();
}
} // namespace

TEST(ReportFacts, EachTool_IsReadInTheFormOfBothUserlands)
{
    const std::pair<const char*, const char*> cases[] = {
        {"memory-disk",
         "memory 512000 25600 1000 250 L2\n"
         "disk /data/\"'<script \"'<script 91 - L13\n"
         "disk /usr 70G 28 95 ro L14\n"
         "route -, name servers -, processors -, killed 8\n"},
        // One file system at several places, a name that takes a line of its own, two without a device that look alike.
        {"memory-disk-busybox",
         "disk /usr 69.0G 28 - L3\ndisk /data 11.8G 0 - L6\ndisk /run 0 100 - L7\ndisk /tmp 0 100 - L8\n"},
        {"mpstat",
         "cpu all 75.13 21 1 2.87\n"
         "cpu \"'<script 82 18 0 0\n"
         "process 1187 \"'<script 99 - -\n"
         "route -, name servers -, processors 2, killed -\n"},
        // Without mpstat: two samples.
        {"mpstat-busybox", "cpu all 60 20 10 10\ncpu 0 60 20 10 10\n"},
        {"top", "load 7\npressure io 41.5\nprocess 16 \"'<script 93.7 18136 767168\n"},
        // Its shares are of all processors together.
        {"top-busybox",
         "process 1 bwrap 8 - 766976\nprocess 12 busybox 0 - 3300\n"
         "route -, name servers -, processors 2, killed -\n"},
        {"network",
         "interface \"'<script up - link - received 19 1 2 sent 29 3 4\n"
         "interface wlan0 up 1 link 0 192.0.2.7/24\"'<script fe80::1/64 received - 0 0 sent - 0 0\n"
         "interface eth0 up 1 link 1 received - 0 0 sent - 0 0\n"
         "interface usb0 up 0 link 0 received - 0 0 sent - 0 0\n"
         "route 1, name servers 1, processors -, killed -\n"},
        {"network-busybox",
         "interface eth0 up 1 link 1 192.0.2.7 received - 0 0 sent - 0 0\n"
         "route 1, name servers -, processors -, killed -\n"},
        {"core-dumps", "1 dumps\n"},
    };
    for (const auto& [file, told] : cases) {
        EXPECT_EQ(Told(Read(Item(file))), told) << file;
    }
}

TEST(ReportFacts, WhatIsNotThere_IsToldApartFromWhatIsNotUnderstood)
{
    const std::pair<Document, const char*> cases[] = {
        {Item("disk", "==> /proc/meminfo <==\nMemTotal: 512000 kB\n"),
         "unread the section \"/proc/meminfo\" of the item \"disk\"\n"},
        {Item("top", "\n==== processes ====\nPID VIRT RES %CPU COMMAND\n7 0.6g 17628 3.0 init\n"),
         "process 7 init 3 17628 629146\n"},
        {Item("net", "an IP\n==== routes ====\n192.0.2.0/24 dev wlan0\n"), ""},
        {Item("disk", "==> file systems <==\ndf: no such thing\n"),
         "unread the section \"file systems\" of the item \"disk\"\n"},
        {Item("net", "==> routes <==\n192.0.2.0/24 dev wlan0\n"), "route 0, name servers -, processors -, killed -\n"},
        {Item("net",
              "==> routes <==\nthis device has no ip nor route\n==> IPv6 routes <==\n::/0  ::  !n  -1  1  0 lo\n"),
         ""},
        {Item("top", "==> /proc/loadavg <==\n-1 2 3 7/153 68\n==> /proc/loadavg <==\n1 2 1000000000000001 7/153 68\n"),
         "unread the section \"/proc/loadavg\" of the item \"top\"\n"
         "unread the section \"/proc/loadavg\" of the item \"top\"\n"},
        {Item("logs", "==> system log <==\nNo journal files were found.\n-- No entries --\n"), ""},
        {Item("large", "\ndiag-seal: x bytes are missing here\ndiag-seal: 34 bytes are missing here\n3\n"),
         "cut 34 L3\n"},
        {Item("coredumpfilelist",
              "ls: /data/logs/core*: No such file or directory\ndiag-seal: the command ended with exit status 1\n"),
         "0 dumps\n"},
    };
    for (const auto& [document, told] : cases) {
        EXPECT_EQ(Told(Read(document)), told) << document.text;
    }
}

TEST(ReportFacts, DeviceAndSoftware_AreTold)
{
    Collection collection;
    collection.documents = {Item("mfg-data"), Item("version"), Item("update-status"), Item("releases")};
    const Facts facts = ReadFacts(collection);
    EXPECT_EQ(*facts.productName + ' ' + *facts.productType + ' ' + *facts.serialNumber + ' ' + *facts.guid,
              "VRD9\"'<script \"'<script 0842\"'<script 7c1f\"'<script");
    EXPECT_EQ(*facts.version, "1.0.67-10452+c5f2e8b\"'<script");
    EXPECT_EQ(Clock::Text(*facts.collected) + ", " + Clock::Duration(static_cast<Seconds>(*facts.uptime)),
              "2026-11-22 01:16:29, 6 h 8 min");
    EXPECT_EQ(facts.update->status.at("lastResult") + ", " + facts.update->lastRelease,
              "failed \"'<script, 1.0.67\"'<script");
    EXPECT_EQ(Clock::Text(*facts.update->lastReleaseTime), "2026-11-18 03:17:55");
    EXPECT_TRUE(facts.unread.empty());
    EXPECT_FALSE(ReadFacts({}).serialNumber);
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
    const Facts facts = Read(Item(
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
        "\n==> kernel messages <==\ndmesg: not permitted\ndmesg ended with exit status 1\n"));
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
        log += time + "+0000 v A: error " + letter(1) + letter(26) + letter(26 * 26) + '\n';
        disks += "disk 100 50 50 50% /mnt/" + std::to_string(minute) + '\n';
    }
    const Facts facts = Read(Item("all", log + disks.substr(0, 1000 * 1000)));
    EXPECT_EQ(facts.log->minutes.size(), 50000U);
    EXPECT_EQ(facts.log->undated, 1U);
    EXPECT_EQ(facts.log->errors.size(), 2000U);
    EXPECT_THAT(facts.log->lines, ElementsAre(50001, 0, 0));
    EXPECT_EQ(facts.fileSystems.size(), 1000U);
}
