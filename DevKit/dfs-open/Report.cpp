#include "Report.h"

#include "Escape.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>

namespace DfsOpen
{

namespace
{

std::string Size(const std::optional<std::uint64_t>& size)
{
    return size ? std::to_string(*size) : "-";
}

std::string OrDash(const std::string& text)
{
    return text.empty() ? "-" : Escape::Name(text);
}

std::string State(const Item& item)
{
    return ToText(item.outcome) + (item.text.empty() ? "" : ": " + Escape::Name(item.text)) +
           (item.isListed ? "" : ", not in the manifest");
}

void PrintTable(const std::vector<Item>& items, std::ostream& out)
{
    using Row = std::array<std::string, 6>;
    std::vector<Row> rows = {{"ITEM", "TYPE", "SUB-TYPE", "STORED", "PLAIN", "STATE"}};
    for (const Item& item : items) {
        rows.push_back({OrDash(item.entry.fileName), OrDash(item.entry.type), OrDash(item.entry.subType),
                        Size(item.storedSize), Size(item.plainSize), State(item)});
    }
    std::array<std::size_t, 5> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            const bool isNumber = column >= 3;
            out << (isNumber ? std::right : std::left) << std::setw(static_cast<int>(widths[column])) << row[column]
                << "  ";
        }
        out << row.back() << '\n';
    }
}

} // namespace

void Print(const ArchiveReport& report, std::ostream& out)
{
    PrintTable(report.items, out);
    for (const std::string& fault : report.faults) {
        out << fault << '\n';
    }
    const auto count = [&report](auto&& isOne) {
        return std::count_if(report.items.begin(), report.items.end(), isOne);
    };
    out << report.items.size() << (report.items.size() == 1 ? " item" : " items");
    if (!report.IsSound()) {
        out << ", " << count([](const Item& item) { return !item.IsSound(); })
            << " missing, damaged or not accounted for; " << report.faults.size()
            << (report.faults.size() == 1 ? " fault" : " faults") << " of the archive itself\n";
    } else if (count([](const Item& item) { return item.outcome == Outcome::Sealed; }) > 0) {
        out << ", all sealed: only their key shows whether they are whole\n";
    } else {
        out << ", all whole\n";
    }
}

bool PrintFaults(const ArchiveReport& report, const std::string& subType, std::ostream& err)
{
    for (const std::string& fault : report.faults) {
        err << "dfs-open: " << fault << '\n';
    }
    bool isFound = false;
    bool isWhole = true;
    for (const Item& item : report.items) {
        if (item.isListed && item.entry.subType == subType) {
            isFound = true;
            if (item.outcome != Outcome::Whole) {
                isWhole = false;
                err << "dfs-open: " << Escape::Name(item.entry.fileName) << ": " << State(item) << '\n';
            }
        }
    }
    if (!isFound) {
        err << "dfs-open: no item has the sub-type \"" << Escape::Name(subType) << "\"\n";
    }
    return isFound && isWhole;
}

} // namespace DfsOpen
