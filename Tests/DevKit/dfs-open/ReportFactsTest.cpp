#include <gmock/gmock.h>

#include "Clock.h"
#include "FactReader.h"
#include "LogLine.h"
#include "Numbers.h"

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

Facts Read(const std::string& subType, const std::string& text)
{
    Collection collection;
    collection.documents = {Item(subType, text)};
    return ReadFacts(collection);
}

/** An item with one section. Its body begins in line 3. */
Facts ReadSection(const std::string& title, const std::string& body)
{
    return Read("report", "\n==> " + title + " <==\n" + body);
}

std::string Text(const std::optional<double>& number)
{
    return number ? Decimal(*number, 2) : "-";
}

/** What the facts say, in a line for each, so that one table serves all readers. */
std::string Told(const Facts& facts)
{
    std::string told;
    if (const auto& memory = facts.memory) {
        told += "memory " + Decimal(memory->total) + ' ' + Decimal(memory->available) + ' ' +
                Decimal(memory->swapTotal) + ' ' + Decimal(memory->swapFree) + " L" +
                std::to_string(memory->place.line) + '\n';
    }
    for (const FileSystem& disk : facts.fileSystems) {
        told += "disk " + disk.mount + ' ' + disk.available + ' ' + Text(disk.percent) + ' ' + Text(disk.inodePercent) +
                (disk.isReadOnly ? " ro" : "") + " L" + std::to_string(disk.place.line) + '\n';
    }
    if (facts.load) {
        told += "load " + Decimal(facts.load->five, 2) + '\n';
    }
    for (const Processor& cpu : facts.processors) {
        told += "cpu " + cpu.name + ' ' + Decimal(cpu.user, 2) + ' ' + Decimal(cpu.system, 2) + ' ' +
                Decimal(cpu.wait, 2) + ' ' + Decimal(cpu.idle, 2) + '\n';
    }
    for (const Pressure& pressure : facts.pressures) {
        told += "pressure " + pressure.resource + ' ' + Decimal(pressure.lastMinute, 2) + '\n';
    }
    for (const auto* list : {&facts.processes, &facts.sampled}) {
        for (const Process& process : *list) {
            told += "process " + process.pid + ' ' + process.name + ' ' + Text(process.processor) + ' ' +
                    Text(process.resident) + ' ' + Text(process.virtualSize) + '\n';
        }
    }
    for (const Interface& interface : facts.interfaces) {
        told += "interface " + interface.name + (interface.isUp ? (*interface.isUp ? " up" : " off") : "") +
                (interface.hasCarrier ? (*interface.hasCarrier ? " link" : " nolink") : "");
        for (const std::string& address : interface.addresses) {
            told += ' ' + address;
        }
        if (interface.received) {
            told += ' ' + std::to_string(*interface.received) + ' ' + std::to_string(interface.receiveErrors) + ' ' +
                    std::to_string(interface.receiveDrops) + ' ' + std::to_string(*interface.sent) + ' ' +
                    std::to_string(interface.sendErrors) + ' ' + std::to_string(interface.sendDrops);
        }
        told += '\n';
    }
    if (facts.hasDefaultRoute) {
        told += *facts.hasDefaultRoute ? "route\n" : "no route\n";
    }
    if (facts.processorCount) {
        told += std::to_string(*facts.processorCount) + " processors\n";
    }
    if (facts.killedForMemory) {
        told += std::to_string(*facts.killedForMemory) + " killed\n";
    }
    if (facts.coreDumps) {
        told += std::to_string(facts.coreDumps->size()) + " dumps\n";
    }
    for (const std::string& section : facts.unread) {
        told += "unread " + section + '\n';
    }
    return told;
}
} // namespace

TEST(ReportFacts, EachTool_IsReadInTheFormOfBothUserlands)
{
    const struct
    {
        const char* title;
        std::string body, told;
    } cases[] = {
        {"/proc/meminfo",
         "MemTotal:  512000 kB\nMemFree:  1 kB\nMemAvailable:  25600 kB\nSwapTotal:  1000 kB\nSwapFree:  250 kB\n",
         "memory 512000 25600 1000 250 L3\n"},
        {"/proc/meminfo", "MemTotal:  512000 kB\n", "unread the section \"/proc/meminfo\" of the item \"report\"\n"},
        {"/proc/vmstat", "pgmajfault 12\noom_kill 8\n", "8 killed\n"},
        // coreutils
        {"file systems",
         "Filesystem      Size  Used Avail Use% Mounted on\n/dev/vda        252G   27G   70G  28% /usr\n"
         "none               0     0     0    - /proc\n"
         "\n==> inodes <==\nFilesystem  Inodes  IUsed IFree IUse% Mounted on\n/dev/vda 100 95 5 95% /usr\n"
         "\n==> /proc/mounts <==\n/dev/vda /usr ext4 ro,nosuid 0 0\n",
         "disk /usr 70G 28 95 ro L4\n"},
        // BusyBox: one file system at several places, a name that takes a line of its own
        {"file systems",
         "Filesystem                Size      Used Available Use% Mounted on\n"
         "/dev/vda                252.0G     26.7G     69.0G  28% /usr\n/dev/vda                252.0G     26.7G     "
         "69.0G  "
         "28% /etc/ssl\n/dev/mapper/a-long-name-of-a-device\n                         11.8G      8.3M     11.8G   0% "
         "/data\n",
         "disk /usr 69.0G 28 - L4\ndisk /data 11.8G 0 - L7\n"},
        {"file systems", "df: no such thing\n", "unread the section \"file systems\" of the item \"report\"\n"},
        {"/proc/loadavg", "8.53 7.00 4.03 7/153 68\n", "load 7\n"},
        {"/proc/interrupts", "           CPU0       CPU1       \n 24:          1          0  edge\n", "2 processors\n"},
        {"/proc/pressure/io", "some avg10=0.81 avg60=41.5 avg300=0.93 total=83336765\nfull avg10=0\n",
         "pressure io 41.5\n"},
        {"use of each CPU over one second",
         "Linux 6.1 (vantor) \t11/22/26 \t_x86_64_\t(2 CPU)\n\n"
         "Average:     CPU    %usr   %nice    %sys %iowait    %irq   %soft  %steal  %guest  %gnice   %idle\n"
         "Average:     all   44.28   30.85   20.00    1.00    0.50    0.25    0.25    0.00    0.00    2.87\n",
         "cpu all 75.13 21 1 2.87\n"},
        // BusyBox has no mpstat on every device: two samples
        {"/proc/stat",
         "cpu  100 0 100 800 0 0 0 0 0 0\ncpu0 100 0 100 800 0 0 0 0 0 0\nintr 5\n\n==> /proc/stat <==\n"
         "cpu  150 10 120 810 10 0 0 0 0 0\ncpu0 150 10 120 810 10 0 0 0 0 0\n",
         "cpu all 60 20 10 10\ncpu 0 60 20 10 10\n"},
        {"processes",
         "    PID    PPID USER             STAT PSR  NI %CPU     TIME   RSS    VSZ NLWP     ELAPSED WCHAN      "
         "COMMAND\n"
         "     16       2 root             Sl     0   0 93.7 00:00:00 18136 767168   11       00:01 do_sys_pau "
         "DiagnosticFileS\n",
         "process 16 DiagnosticFileS 93.7 18136 767168\n"},
        {"processes",
         "Mem: 10274412K used, 14409684K free\nLoad average: 7.78 6.93 4.07 6/133 69\n"
         "  PID  PPID USER     STAT   VSZ %VSZ %CPU COMMAND WCHAN\n"
         "    1     0 root     S     749m   0%   4% bwrap do_wait\n   12     1 root     S <   3300   0%   0% busybox "
         "0\n",
         "process 1 bwrap 4 - 766976\nprocess 12 busybox 0 - 3300\n"},
        {"use of the CPUs by each process, over the same second",
         "Average:      UID       PID    %usr %system  %guest   %wait    %CPU   CPU  Command\n"
         "Average:        0      1187   90.00    9.00    0.00    0.00   99.00     -  AudioRenderer\n",
         "process 1187 AudioRenderer 99 - -\n"},
        {"/proc/net/dev",
         "Inter-|   Receive      |  Transmit\n face |bytes    packets errs drop\n"
         " wlan0:    2106      19    1    2    0     0          0         0     2106      29    3    4    0     0      "
         " 0          0\n",
         "interface wlan0 19 1 2 29 3 4\n"},
        {"addresses",
         "2: wlan0@if3: <BROADCAST,MULTICAST,UP> mtu 1500 qdisc noqueue\n    link/ether 00:00:5e:00:53:01\n"
         "    inet 192.0.2.7/24 scope global wlan0\n3: eth0: <UP,LOWER_UP> mtu 1500\n4: usb0: <MULTICAST> mtu 1500\n",
         "interface wlan0 up nolink 192.0.2.7/24\ninterface eth0 up link\ninterface usb0 off nolink\n"},
        {"addresses",
         "eth0      Link encap:Ethernet  HWaddr 00:00:5E:00:53:01\n          inet addr:192.0.2.7  Bcast:192.0.2.255\n"
         "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1\n",
         "interface eth0 up link 192.0.2.7\n"},
        {"routes", "default via 192.0.2.1 dev wlan0\n", "route\n"},
        {"routes",
         "Kernel IP routing table\n0.0.0.0         192.0.2.1       0.0.0.0         UG    0      0        0 wlan0\n",
         "route\n"},
        {"routes", "192.0.2.0/24 dev wlan0\n", "no route\n"},
        {"routes", "this device has no ip nor route\n", ""},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(Told(ReadSection(one.title, one.body)), one.told) << one.title << "\n" << one.body;
    }
    EXPECT_EQ(Told(Read("coredumpfilelist", "-rw-r--r-- 1 root root 30 Nov 22 01:09 /data/logs/core.A.1\n")),
              "1 dumps\n");
    EXPECT_EQ(Told(Read("coredumpfilelist",
                        "ls: /data/logs/core*: No such file or directory\n"
                        "diag-seal: the command ended with exit status 1\n")),
              "0 dumps\n");
}

TEST(ReportFacts, DeviceAndSoftware_AreTold)
{
    Collection collection;
    collection.documents = {
        Item("mfg_data", R"({"productName":"VRD9","serialNumber":"0842","guid":"7c1f"})"),
        Item("uptime",
             "\n==> /proc/uptime <==\n22128.80 8410.37\n\n==> /opt/Vantor/etc/VantorVersion.json <==\n"
             R"({"short":"1.0.67","build_number":"10452","abbrev_commit":"c5f2e8b"})"
             "\n\n==> date <==\nSun Nov 22 01:16:29 UTC 2026\n"),
        Item("swup_sys_status", "state: Idle\nlastResult: verification failed\n"),
        Item("swup_release_history", "2026-06-24T03:58:40Z 1.0.64\n2026-11-18T03:17:55Z 1.0.67\n"),
    };
    const Facts facts = ReadFacts(collection);
    EXPECT_EQ(*facts.productName + ' ' + *facts.serialNumber + ' ' + *facts.guid + ' ' + *facts.version,
              "VRD9 0842 7c1f 1.0.67-10452+c5f2e8b");
    EXPECT_FALSE(facts.productType);
    EXPECT_EQ(Clock::Text(*facts.collected) + ", " + Clock::Duration(static_cast<Seconds>(*facts.uptime)),
              "2026-11-22 01:16:29, 6 h 8 min");
    EXPECT_EQ(facts.update->status.at("lastResult") + ", " + facts.update->lastRelease, "verification failed, 1.0.67");
    EXPECT_EQ(Clock::Text(*facts.update->lastReleaseTime), "2026-11-18 03:17:55");
    EXPECT_TRUE(facts.unread.empty());
}

TEST(ReportFacts, LogLine_HasItsTimeMessageAndSeverity)
{
    const LogClock clock{*Clock::FromIso("2026-01-02T00:00:00Z"), *Clock::FromIso("2026-01-01T00:00:00Z")};
    const struct
    {
        const char* line;
        const char* told;
    } cases[] = {
        {"Jan  1 22:14:03 vantor A[11]: underrun on output 0", "2026-01-01 22:14:03|W|A[11]: underrun on output 0"},
        {"Dec 31 22:14:03 vantor A: ok", "2025-12-31 22:14:03|-|A: ok"},
        {"Jan  1 01:16:51 vantor daemon.err A: it is fine", "2026-01-01 01:16:51|E|A: it is fine"},
        {"Jan  1 01:16:51 vantor user.info A: no error", "2026-01-01 01:16:51|-|A: no error"},
        {"2026-01-01T02:00:00+0100 vantor kernel: I/O error", "2026-01-01 01:00:00|E|kernel: I/O error"},
        {"[   61.25] usb 1-1: device descriptor read failed",
         "2026-01-01 00:01:01|E|usb 1-1: device descriptor read failed"},
        {"[ nothing ] with 0 errors", "?|-|[ nothing ] with 0 errors"},
        {"Foo 99 99:99:99 x", "?|-|Foo 99 99:99:99 x"},
    };
    for (const auto& one : cases) {
        const LogLine line = ParseLogLine(one.line, clock);
        EXPECT_EQ((line.time ? Clock::Text(*line.time) : "?") + '|' + "EW-"[static_cast<int>(line.severity)] + '|' +
                      std::string(line.message),
                  one.told);
    }
    // Without the year of the collection, none is made up.
    const LogLine yearless = ParseLogLine("Jan  1 22:14:03 vantor A: ok", {});
    EXPECT_FALSE(yearless.time);
    EXPECT_EQ(yearless.message, "A: ok");
    EXPECT_EQ(Clock::Text(*Clock::FromFileName("dfs_top_20261122011629.txt")), "2026-11-22 01:16:29");
    EXPECT_FALSE(Clock::FromFileName("dfs_top_20261322011629.txt"));
    EXPECT_EQ(Signature("read 12 of 0xbec5 at sector 900"), "read # of # at sector #");
}

TEST(ReportFacts, Logs_CountALineOnceAndACrashOnce)
{
    const std::string crash =
        "Nov 20 22:14:03 vantor kernel: A[1187]: segfault at 0 ip 1\n"
        "Nov 20 22:14:05 vantor systemd[1]: A.service: Main process exited, code=dumped, status=11/SEGV\n";
    const Facts facts = Read(
        "logread", "\n==> date <==\nSun Nov 22 01:16:29 UTC 2026\n\n==> /var/log/messages <==\n" + crash +
                       "Nov 20 22:14:03 vantor kernel: A[1187]: segfault at 0 ip 1\n"
                       "\n==> system log <==\n2026-11-20T22:14:03+0000 vantor kernel: A[1187]: segfault at 0 ip 1\n"
                       "2026-11-20T22:20:00+0000 vantor B: fine\n-- No entries --\n"
                       "\n==> kernel messages <==\ndmesg: not permitted\ndmesg ended with exit status 1\n");
    EXPECT_THAT(facts.log->lines, ElementsAre(3, 0, 1));
    ASSERT_EQ(facts.log->minutes.size(), 2U);
    EXPECT_EQ(facts.log->minutes.begin()->second.first.line, 6U);
    EXPECT_EQ(facts.log->crashes.at("A").Count(), 2U);
    EXPECT_EQ(facts.log->errors.at("kernel: A[#]: segfault at # ip #").count, 2U);
    EXPECT_THAT(facts.ended.begin()->first, HasSubstr("kernel messages: dmesg ended with exit status 1"));
}
