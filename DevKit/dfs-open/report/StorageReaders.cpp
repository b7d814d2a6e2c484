#include "Lines.h"
#include "Readers.h"

#include <algorithm>
#include <map>

namespace DfsReport
{

namespace
{

// A row of df: device, four values, mount point.
struct DiskRow
{
    std::vector<std::string_view> words;
    std::size_t line = 1;
};

// The rows behind the titles. A long device name stands in a line of its own.
std::vector<DiskRow> DiskRows(const Section& section)
{
    constexpr std::size_t kColumns = 6;
    std::vector<DiskRow> rows;
    std::string_view device;
    Lines lines(section.body, section.firstLine);
    for (Line line; rows.size() < kMostEntries && lines.Next(line);) {
        std::vector<std::string_view> words = Words(line.text);
        if (words.size() == 1) {
            device = words[0];
            continue;
        }
        if (words.size() == kColumns - 1 && !device.empty()) {
            words.insert(words.begin(), device);
        }
        device = {};
        if (words.size() >= kColumns && words[5][0] == '/' && (Number(words[4]) || words[4] == "-")) {
            rows.push_back({words, line.number});
        }
    }
    return rows;
}

} // namespace

bool ReadMemory(const Section& section, Facts& facts)
{
    Memory memory;
    bool hasAvailable = false;
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text, 3);
        const auto value = words.size() > 1 ? Number(words[1]) : std::nullopt;
        if (!value) {
            continue;
        }
        if (words[0] == "MemTotal:") {
            memory.total = *value;
            memory.place = {section.document, line.number};
        } else if (words[0] == "MemAvailable:") {
            memory.available = *value;
            hasAvailable = true;
        } else if (words[0] == "SwapTotal:") {
            memory.swapTotal = *value;
        } else if (words[0] == "SwapFree:") {
            memory.swapFree = *value;
        }
    }
    if (memory.total <= 0 || !hasAvailable) {
        return false;
    }
    facts.memory = memory;
    return true;
}

bool ReadKills(const Section& section, Facts& facts)
{
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text, 2);
        if (words.size() == 2 && words[0] == "oom_kill") {
            facts.killedForMemory = Whole(words[1]);
            facts.killedPlace = {section.document, line.number};
            return facts.killedForMemory.has_value();
        }
    }
    // Kernels before 4.13 do not count them.
    return !section.body.empty();
}

bool ReadFileSystems(const Section& section, Facts& facts)
{
    const auto rows = DiskRows(section);
    for (const DiskRow& row : rows) {
        const auto& words = row.words;
        // BusyBox shows a device once for each place where it is mounted. Those without a device may look the same.
        const bool isKnown =
            words[0][0] == '/' &&
            std::any_of(facts.fileSystems.begin(), facts.fileSystems.end(), [&words](const FileSystem& other) {
                return other.device == words[0] && other.size == words[1] && other.used == words[2];
            });
        if (!isKnown && words[1] != "0" && facts.fileSystems.size() < kMostEntries) {
            facts.fileSystems.push_back({std::string(words[0]),
                                         std::string(words[5]),
                                         std::string(words[1]),
                                         std::string(words[2]),
                                         std::string(words[3]),
                                         Number(words[4]),
                                         std::nullopt,
                                         false,
                                         {section.document, row.line}});
        }
    }
    return !rows.empty();
}

bool ReadInodes(const Section& section, Facts& facts)
{
    const auto rows = DiskRows(section);
    for (const DiskRow& row : rows) {
        for (FileSystem& fileSystem : facts.fileSystems) {
            if (fileSystem.mount == row.words[5]) {
                fileSystem.inodePercent = Number(row.words[4]);
            }
        }
    }
    return !rows.empty();
}

bool ReadMounts(const Section& section, Facts& facts)
{
    std::map<std::string_view, bool> isReadOnlyAt;
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text, 4);
        if (words.size() == 4) {
            isReadOnlyAt[words[1]] = words[3] == "ro" || StartsWith(words[3], "ro,");
        }
    }
    for (FileSystem& fileSystem : facts.fileSystems) {
        const auto found = isReadOnlyAt.find(fileSystem.mount);
        fileSystem.isReadOnly = found != isReadOnlyAt.end() ? found->second : fileSystem.isReadOnly;
    }
    return !isReadOnlyAt.empty();
}

} // namespace DfsReport
