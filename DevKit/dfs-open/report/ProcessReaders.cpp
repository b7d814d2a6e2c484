#include "Columns.h"
#include "Lines.h"
#include "Readers.h"

#include <algorithm>

namespace DfsReport
{

namespace
{

// BusyBox prints a process's state with the column's width: "S <" and "S N" are two words.
void JoinState(const Columns& columns, std::vector<std::string_view>& row)
{
    const auto state = columns.Find("STAT");
    if (state && *state + 1 < row.size() && (row[*state + 1] == "<" || row[*state + 1] == "N")) {
        row.erase(row.begin() + static_cast<std::ptrdiff_t>(*state) + 1);
    }
}

} // namespace

bool ReadProcesses(const Section& section, Facts& facts)
{
    Columns columns("");
    bool isRead = false;
    double processors = 1;
    Lines lines(section.body, section.firstLine);
    for (Line line; facts.processes.size() < kMostEntries && lines.Next(line);) {
        auto words = Words(line.text);
        const Columns titles(line.text);
        if (titles.Has("PID") && titles.Has("COMMAND")) {
            columns = titles;
            isRead = true;
            // BusyBox's top(1) tells the share of all processors together.
            processors = titles.Has("%VSZ") ? static_cast<double>(facts.processorCount.value_or(1)) : 1;
        } else if (isRead && Whole(columns.Get(words, "PID"))) {
            JoinState(columns, words);
            const auto share = Number(columns.Get(words, "%CPU"));
            facts.processes.push_back({std::string(columns.Get(words, "PID")),
                                       std::string(columns.Get(words, "COMMAND")),
                                       share ? std::optional(*share * processors) : std::nullopt,
                                       // The latter titles are those of top(1).
                                       Kibibytes(columns.Get(words, columns.Has("RSS") ? "RSS" : "RES")),
                                       Kibibytes(columns.Get(words, columns.Has("VSZ") ? "VSZ" : "VIRT")),
                                       {section.document, line.number}});
        }
    }
    return isRead;
}

bool ReadSampled(const Section& section, Facts& facts)
{
    Columns columns("");
    bool isRead = false;
    Lines lines(section.body, section.firstLine);
    for (Line line; facts.sampled.size() < kMostEntries && lines.Next(line);) {
        const auto words = Words(line.text);
        if (words.empty() || words[0] != "Average:") {
            continue;
        }
        if (Contains(line.text, "%CPU")) {
            columns = Columns(line.text);
            isRead = true;
        } else if (Number(columns.Get(words, "%CPU"))) {
            facts.sampled.push_back({std::string(columns.Get(words, "PID")),
                                     std::string(columns.Get(words, "Command")),
                                     Number(columns.Get(words, "%CPU")),
                                     std::nullopt,
                                     std::nullopt,
                                     {section.document, line.number}});
        }
    }
    return isRead;
}

} // namespace DfsReport
