#include "Charts.h"

#include "Markup.h"
#include "Numbers.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace DfsReport
{

namespace
{

constexpr double kPercent = 100;
constexpr double kNearlyFull = 90;
constexpr double kLeastLoss = 2; ///< So much of the row a loss has, however small.
constexpr std::size_t kLongestLabel = 60;
constexpr std::size_t kMostRows = 12; ///< Of file systems, processors and interfaces.
constexpr std::size_t kMostProcesses = 8;

View Row(const std::string& label, const std::string& value, const std::optional<Place>& place,
         const std::vector<Segment>& segments)
{
    View row;
    row.Set("label", Markup::Shortened(label, kLongestLabel)).Set("value", value);
    std::vector<View> drawn;
    drawn.reserve(segments.size());
    for (const Segment& segment : segments) {
        const double begin = std::clamp(segment.begin, 0.0, kPercent);
        const double width = std::clamp(segment.width, 0.0, kPercent - begin);
        drawn.push_back(View().Set("kind", segment.kind).Set("x", Decimal(begin, 2)).Set("width", Decimal(width, 2)));
    }
    row.Set("segments", std::move(drawn));
    return Link(row, place);
}

// A chart's frame. Without rows it says why there are none.
View Chart(const std::string& id, const std::string& title, std::vector<View> rows, const std::string& absent,
           const std::string& note = "", const std::vector<std::pair<const char*, const char*>>& legend = {})
{
    View chart;
    chart.Set("id", id).Set("title", title).Set("isAbsent", rows.empty()).Set("absent", absent).Set("note", note);
    chart.Set("rows", std::move(rows)).Set("hasLegend", !legend.empty());
    std::vector<View> entries;
    entries.reserve(legend.size());
    for (const auto& [kind, name] : legend) {
        entries.push_back(View().Set("kind", kind).Set("name", name));
    }
    return chart.Set("legend", std::move(entries));
}

View MemoryChart(const Facts& facts)
{
    std::vector<View> rows;
    std::string note;
    if (const auto& memory = facts.memory) {
        const double used = (1 - memory->available / memory->total) * kPercent;
        rows.push_back(Row("Memory, " + Bytes(memory->total * 1024), Bytes(memory->available * 1024) + " free",
                           memory->place, {{used >= kNearlyFull ? "full" : "s1", 0, used}}));
        if (memory->swapTotal > 0) {
            const double swapped = (1 - memory->swapFree / memory->swapTotal) * kPercent;
            rows.push_back(Row("Swap, " + Bytes(memory->swapTotal * 1024), Bytes(memory->swapFree * 1024) + " free",
                               memory->place, {{"s1", 0, swapped}}));
        } else {
            note = "The device has no swap space.";
        }
    }
    return Chart("memory", "Memory", std::move(rows), "Not known: /proc/meminfo is not in the archive.", note);
}

View StorageChart(const Facts& facts)
{
    std::vector<const FileSystem*> sorted;
    for (const FileSystem& fileSystem : facts.fileSystems) {
        sorted.push_back(&fileSystem);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const FileSystem* one, const FileSystem* other) {
        return one->percent.value_or(-1) > other->percent.value_or(-1);
    });
    std::vector<View> rows;
    for (const FileSystem* fileSystem : sorted) {
        if (rows.size() < kMostRows) {
            const double used = fileSystem->percent.value_or(0);
            const bool isFull = used >= kNearlyFull && !fileSystem->isReadOnly;
            rows.push_back(
                Row(fileSystem->mount + (fileSystem->isReadOnly ? " (read-only)" : ""),
                    (fileSystem->percent ? Decimal(used, 0) + " %, " : std::string()) + fileSystem->available + " free",
                    fileSystem->place, {{isFull ? "full" : "s1", 0, used}}));
        }
    }
    const std::size_t more = sorted.size() - rows.size();
    return Chart("storage", "File systems", std::move(rows), "Not known: the archive has no list of file systems.",
                 more > 0 ? "The fullest; " + std::to_string(more) + " more in the item." : "");
}

View ProcessorChart(const Facts& facts)
{
    std::vector<View> rows;
    if (facts.load) {
        // The whole width is twice the number of processors.
        const double whole = static_cast<double>(facts.processorCount.value_or(1)) * 2;
        const double width = facts.load->five / whole * kPercent;
        const bool isHigh = facts.processorCount && width > kPercent / 2;
        rows.push_back(Row(
            "Load (1, 5, 15 min)",
            Decimal(facts.load->one, 2) + ", " + Decimal(facts.load->five, 2) + ", " + Decimal(facts.load->fifteen, 2),
            facts.load->place, {{isHigh ? "full" : "s1", 0, width}}));
    }
    for (const Processor& processor : facts.processors) {
        if (rows.size() <= kMostRows) {
            rows.push_back(Row(processor.name == "all" ? "All processors" : "Processor " + processor.name,
                               Decimal(kPercent - processor.idle, 0) + " % busy", processor.place,
                               {{"s1", 0, processor.user},
                                {"s2", processor.user, processor.system},
                                {"s3", processor.user + processor.system, processor.wait}}));
        }
    }
    std::string note;
    if (facts.load) {
        note = facts.processorCount
                   ? "Load of 5 minutes drawn against twice the " + Counted(*facts.processorCount, "processor") + "."
                   : "The number of processors is not known; load drawn against 2.";
    }
    if (facts.processors.empty()) {
        note += " The use of each processor is not known.";
    }
    return Chart("load", "Load and processors", std::move(rows),
                 "Not known: the archive has neither load nor processor times.", note,
                 {{"s1", "programs"}, {"s2", "kernel"}, {"s3", "waiting for storage"}});
}

// BusyBox shows a program with its path.
std::string BaseName(const std::string& name)
{
    return name[0] == '/' ? name.substr(name.rfind('/') + 1) : name;
}

// The largest first, of those that have the value.
template <class Value>
std::vector<const Process*> Largest(const std::vector<Process>& processes, const Value& value)
{
    std::vector<const Process*> sorted;
    for (const Process& process : processes) {
        if (value(process).value_or(0) > 0) {
            sorted.push_back(&process);
        }
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [&value](const Process* one, const Process* other) { return *value(*one) > *value(*other); });
    sorted.resize(std::min(sorted.size(), kMostProcesses));
    return sorted;
}

View BusyChart(const Facts& facts)
{
    const auto value = [](const Process& process) { return process.processor; };
    const bool isSampled = !facts.sampled.empty();
    std::vector<View> rows;
    for (const Process* process : Largest(isSampled ? facts.sampled : facts.processes, value)) {
        rows.push_back(Row(BaseName(process->name) + ' ' + process->pid, Decimal(*process->processor) + " %",
                           process->place, {{"s1", 0, *process->processor}}));
    }
    return Chart("busy", "Processes by processor time", std::move(rows),
                 facts.processes.empty() && !isSampled ? "Not known: the archive has no list of processes."
                                                       : "No process took a measurable share of a processor.",
                 isSampled
                     ? "Of one processor, over one second."
                     : "Of one processor, as the device's list of processes has it: an average since each started, "
                       "or with BusyBox the moment.");
}

View LargeChart(const Facts& facts)
{
    const bool hasResident = std::any_of(facts.processes.begin(), facts.processes.end(),
                                         [](const Process& process) { return process.resident.has_value(); });
    const auto value = [hasResident](const Process& process) {
        return hasResident ? process.resident : process.virtualSize;
    };
    const auto largest = Largest(facts.processes, value);
    std::vector<View> rows;
    rows.reserve(largest.size());
    for (const Process* process : largest) {
        rows.push_back(Row(BaseName(process->name) + ' ' + process->pid, Bytes(*value(*process) * 1024), process->place,
                           {{"s1", 0, *value(*process) / *value(*largest.front()) * kPercent}}));
    }
    return Chart("large", "Processes by memory", std::move(rows),
                 "Not known: the archive has no list of processes with sizes.",
                 hasResident ? "Memory that is resident." : "Address space: this device tells no resident memory.");
}

View NetworkChart(const Facts& facts)
{
    double most = 1;
    for (const Interface& interface : facts.interfaces) {
        most = std::max({most, static_cast<double>(interface.received.value_or(0)),
                         static_cast<double>(interface.sent.value_or(0))});
    }

    const auto draw = [most](std::uint64_t packets, std::uint64_t lost) {
        const double all = static_cast<double>(packets) / most * kPercent;
        const double width = lost == 0 ? 0 : std::max(kLeastLoss, static_cast<double>(lost) / most * kPercent);
        return std::vector<Segment>{{"s1", 0, std::max(all - width, 0.0)}, {"lost", std::max(all - width, 0.0), width}};
    };
    std::vector<View> rows;
    for (const Interface& interface : facts.interfaces) {
        if (rows.size() >= 2 * kMostRows) {
            break;
        }
        const char* state =
            !interface.isUp ? ""
                            : (!*interface.isUp ? " (off)" : (interface.hasCarrier.value_or(true) ? "" : " (no link)"));
        const auto count = [](std::uint64_t packets, std::uint64_t errors, std::uint64_t drops) {
            return Counted(packets, "packet") + (errors > 0 ? ", " + Counted(errors, "error") : "") +
                   (drops > 0 ? ", " + Counted(drops, "drop") : "");
        };
        if (interface.received && interface.sent) {
            rows.push_back(Row(interface.name + state + " in",
                               count(*interface.received, interface.receiveErrors, interface.receiveDrops),
                               interface.place,
                               draw(*interface.received, interface.receiveErrors + interface.receiveDrops)));
            rows.push_back(Row(interface.name + state + " out",
                               count(*interface.sent, interface.sendErrors, interface.sendDrops), interface.place,
                               draw(*interface.sent, interface.sendErrors + interface.sendDrops)));
        } else {
            rows.push_back(Row(interface.name + state, "packets not known", interface.place, {}));
        }
    }
    std::string note = facts.hasDefaultRoute
                           ? (*facts.hasDefaultRoute ? "There is a default route" : "There is no default route")
                           : "Routes are not known";
    note +=
        facts.nameServers ? "; " + Counted(*facts.nameServers, "name server") + "." : "; name servers are not known.";
    return Chart("network", "Network interfaces", std::move(rows), "Not known: the archive has no list of interfaces.",
                 note, {{"s1", "packets"}, {"lost", "errors and drops"}});
}

} // namespace

View& Link(View& view, const std::optional<Place>& place)
{
    return view.Set("hasHref", place.has_value()).Set("href", place ? Anchor(*place) : "");
}

std::vector<View> Charts(const Facts& facts)
{
    return {MemoryChart(facts), StorageChart(facts), ProcessorChart(facts),
            BusyChart(facts),   LargeChart(facts),   NetworkChart(facts)};
}

} // namespace DfsReport
