#include "FactReader.h"

#include "Clock.h"
#include "Lines.h"
#include "Readers.h"

#include <algorithm>
#include <string>

namespace DfsReport
{

namespace
{

struct Reader
{
    std::string_view title; ///< Of the section; or the sub-type of an item without sections.
    bool (*read)(const Section& section, Facts& facts);
};

// In the order in which they run: times come before the logs, file systems before what else is known of them.
constexpr Reader kReaders[] = {
    {"mfg_data", ReadManufacturing},
    {"/opt/Vantor/etc/VantorVersion.json", ReadVersion},
    {"/proc/uptime", ReadUptime},
    {"date", ReadDate},
    {"/proc/meminfo", ReadMemory},
    {"/proc/vmstat", ReadKills},
    {"file systems", ReadFileSystems},
    {"inodes", ReadInodes},
    {"/proc/mounts", ReadMounts},
    {"proc_loadavg", ReadLoadAverage},
    {"/proc/loadavg", ReadLoadAverage},
    {"/proc/interrupts", ReadProcessorCount},
    {"/proc/softirqs", ReadProcessorCount},
    {"use of each CPU over one second", ReadProcessors},
    {"/proc/stat", ReadStat},
    {"/proc/pressure/cpu", ReadPressure},
    {"/proc/pressure/memory", ReadPressure},
    {"/proc/pressure/io", ReadPressure},
    {"processes", ReadProcesses},
    {"use of the CPUs by each process, over the same second", ReadSampled},
    {"/proc/net/dev", ReadTraffic},
    {"addresses", ReadAddresses},
    {"routes", ReadRoutes},
    {"IPv6 routes", ReadRoutes},
    {"/etc/resolv.conf", ReadNameServers},
    {"swup_sys_status", ReadUpdateStatus},
    {"swup_hsm_states", ReadUpdateStates},
    {"swup_release_history", ReadReleases},
    {"coredumpfilelist", ReadCoreDumps},
    {"/var/log/messages", ReadLog},
    {"/var/log/syslog", ReadLog},
    {"system log", ReadLog},
    {"kernel messages", ReadLog},
};

// What is read of sections of one title: so many of them, and of each but logs so many bytes.
constexpr std::size_t kMostReads = 8;
constexpr std::size_t kLongestSection = std::size_t{1024} * 1024;

constexpr std::string_view kCoreDumps = "coredumpfilelist";

// Takes the last line that is not empty off the text.
Line TakeLast(const Section& section, std::string_view& text)
{
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    const std::size_t begin = text.rfind('\n') + 1;
    const std::size_t before = static_cast<std::size_t>(std::count(text.begin(), text.begin() + begin, '\n'));
    const Line last{text.substr(begin), section.firstLine + before};
    text = text.substr(0, begin);
    return last;
}

// Whether the line tells that a tool did not end well: see diag-report.sh and diag-seal.
bool IsBadEnd(const Section& section, std::string_view line)
{
    const bool isTool = section.title.empty() || section.title[0] != '/';
    return StartsWith(line, "diag-seal: ") ||
           (isTool && (Contains(line, " did not end within ") || Contains(line, " ended with exit status ")));
}

// Takes off the section's last lines what they say of the device and of the tool that printed it.
//
// Returns whether there is something to be read besides.
bool TakeRemarks(const Document& document, Section& section, Facts& facts)
{
    constexpr int kMostRemarks = 4;
    constexpr std::size_t kLongestRemark = 200;
    bool hasEnded = false;
    for (int remark = 0; remark < kMostRemarks; ++remark) {
        std::string_view rest = section.body;
        const Line last = TakeLast(section, rest);
        const Place place{section.document, last.number};
        if (StartsWith(last.text, "this device has no ") && rest.find_first_not_of('\n') == std::string_view::npos) {
            return false;
        }
        if (last.text.size() > kLongestRemark || !IsBadEnd(section, last.text)) {
            break;
        }
        // Without a core dump, ls(1) finds no file: that is its answer.
        if (document.item.entry.subType != kCoreDumps && facts.ended.size() < kMostEntries) {
            const std::string where =
                document.item.entry.subType == section.title ? "" : ", " + std::string(section.title);
            facts.ended.emplace(document.item.entry.subType + where + ": " + std::string(last.text), place);
            hasEnded = true;
        }
        section.body = rest;
    }
    // A tool that failed has printed a line that says why, and nothing to be read.
    return !hasEnded || std::count(section.body.begin(), section.body.end(), '\n') > 2;
}

// Notes where diag-seal has left the middle out of what was too large: "diag-seal: 12 bytes are missing here".
void ReadCuts(std::string_view text, std::size_t document, Facts& facts)
{
    constexpr std::string_view kBefore = "\ndiag-seal: ";
    constexpr std::string_view kBehind = " bytes are missing here\n";
    std::size_t counted = 0, line = 1;
    for (std::size_t at = text.find(kBefore); at != std::string_view::npos && facts.cuts.size() < kMostEntries;
         at = text.find(kBefore, at + 1)) {
        const std::string_view rest = text.substr(at + kBefore.size());
        const std::size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
        const auto bytes = Whole(rest.substr(0, digits));
        if (bytes && StartsWith(rest.substr(digits), kBehind)) {
            line += static_cast<std::size_t>(std::count(text.begin() + counted, text.begin() + at + 1, '\n'));
            counted = at + 1;
            facts.cuts[{document, line}] = *bytes;
        }
    }
}

} // namespace

Facts ReadFacts(const Collection& collection)
{
    Facts facts;
    std::vector<Section> sections;
    for (std::size_t index = 0; index < collection.documents.size(); ++index) {
        const Document& document = collection.documents[index];
        // The names tell the time for want of an item that does.
        const auto named = Clock::FromFileName(document.item.entry.fileName);
        if (named && named > facts.collected) {
            facts.collected = named;
            facts.collectedPlace = {index, 0};
        }
        ReadCuts(document.text, index, facts);
        for (Section& section : Sections(document, index)) {
            if (!section.body.empty() && TakeRemarks(document, section, facts)) {
                sections.push_back(section);
            }
        }
    }
    for (const Reader& reader : kReaders) {
        std::size_t count = 0;
        for (Section section : sections) {
            if (section.title != reader.title) {
                continue;
            }
            if (reader.read != ReadLog) {
                section.body = section.body.substr(0, kLongestSection);
            }
            const bool isRead = ++count <= kMostReads && reader.read(section, facts);
            if (!isRead && facts.unread.size() < kMostEntries) {
                facts.unread.push_back("the section \"" + std::string(section.title) + "\" of the item \"" +
                                       collection.documents[section.document].item.entry.subType + '"');
            }
        }
    }
    return facts;
}

} // namespace DfsReport
