#include "Report.h"

#include "Escape.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace DfsOpen
{

namespace
{

enum Column
{
    kItem,
    kType,
    kSubType,
    kStored,
    kPlain,
    kState,
    kColumns
};
using Row = std::array<std::string, kColumns>;

std::string Size(const std::optional<std::uint64_t>& size)
{
    return size ? std::to_string(*size) : "-";
}

std::string OrDash(const std::string& text)
{
    return text.empty() ? "-" : Escape::Name(text);
}

std::string State(const ItemReport& item)
{
    std::string state = Describe(item.state);
    if (!item.problem.empty()) {
        state += ": " + Escape::Name(item.problem);
    }
    if (!item.listed) {
        state += ", not in the manifest";
    }
    return state;
}

std::string Pad(const std::string& text, std::size_t width, bool right)
{
    const std::string blanks(width > text.size() ? width - text.size() : 0, ' ');
    return right ? blanks + text : text + blanks;
}

} // namespace

void PrintTable(const ArchiveReport& report, std::ostream& out)
{
    std::vector<Row> rows = {{"ITEM", "TYPE", "SUB-TYPE", "STORED", "PLAIN", "STATE"}};
    for (const ItemReport& item : report.items) {
        rows.push_back({OrDash(item.entry.fileName), OrDash(item.entry.type), OrDash(item.entry.subType),
                        Size(item.storedSize), Size(item.plainSize), State(item)});
    }
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < kColumns; ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < kState; ++column) {
            out << Pad(row[column], widths[column], column == kStored || column == kPlain) << "  ";
        }
        out << row[kState] << '\n';
    }
}

void PrintVerdict(const ArchiveReport& report, std::ostream& out)
{
    for (const std::string& fault : report.faults) {
        out << fault << '\n';
    }
    const auto bad = std::count_if(report.items.begin(), report.items.end(),
                                   [](const ItemReport& item) { return !item.listed || !IsSound(item.state); });
    out << report.items.size() << (report.items.size() == 1 ? " item" : " items");
    const bool isSealed = std::any_of(report.items.begin(), report.items.end(),
                                      [](const ItemReport& item) { return item.state == ItemState::kSealed; });
    if (report.IsWhole()) {
        out << (isSealed ? ", all sealed: only their key shows whether they are whole\n" : ", all whole\n");
    } else {
        out << ", " << bad << " missing, damaged or not accounted for; " << report.faults.size()
            << (report.faults.size() == 1 ? " fault" : " faults") << " of the archive itself\n";
    }
}

} // namespace DfsOpen
