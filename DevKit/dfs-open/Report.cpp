#include "Report.h"

#include "Escape.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace DfsOpen
{

namespace
{

struct Row
{
    std::string item, type, subType, stored, plain, state;
};

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
    static constexpr const char* kNames[] = {"whole", "sealed", "damaged", "refused", "missing"};
    return kNames[static_cast<std::size_t>(item.outcome)] + (item.text.empty() ? "" : ": " + Escape::Name(item.text)) +
           (item.isListed ? "" : ", not in the manifest");
}

void PrintTable(const std::vector<Item>& items, std::ostream& out)
{
    std::vector<Row> rows = {{"ITEM", "TYPE", "SUB-TYPE", "STORED", "PLAIN", "STATE"}};
    for (const Item& item : items) {
        rows.push_back({OrDash(item.entry.fileName), OrDash(item.entry.type), OrDash(item.entry.subType),
                        Size(item.storedSize), Size(item.plainSize), State(item)});
    }
    const auto width = [&rows](std::string Row::*column) {
        std::size_t most = 0;
        for (const Row& row : rows) {
            most = std::max(most, (row.*column).size());
        }
        return std::setw(static_cast<int>(most));
    };
    const auto item = width(&Row::item), type = width(&Row::type), subType = width(&Row::subType),
               stored = width(&Row::stored), plain = width(&Row::plain);
    for (const Row& row : rows) {
        out << std::left << item << row.item << "  " << type << row.type << "  " << subType << row.subType << "  "
            << std::right << stored << row.stored << "  " << plain << row.plain << "  " << row.state << '\n';
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
