#include "Numbers.h"
#include "Rules.h"

#include <algorithm>

namespace DfsReport
{

namespace
{

constexpr double kPercent = 100;

std::string Percent(double value)
{
    return Decimal(value, 0) + " %";
}

} // namespace

void FindFullFileSystems(const Evidence& evidence)
{
    constexpr double kNearlyFull = 90, kFull = 97;
    for (const FileSystem& fileSystem : evidence.facts.fileSystems) {
        if (!fileSystem.isReadOnly && fileSystem.percent.value_or(0) >= kNearlyFull) {
            evidence.Add(*fileSystem.percent >= kFull ? Weight::Serious : Weight::Warning,
                         fileSystem.mount + " is " + Percent(*fileSystem.percent) + " full: " + fileSystem.available +
                             " of " + fileSystem.size + " left",
                         fileSystem.place);
        }
    }
}

void FindFullInodes(const Evidence& evidence)
{
    constexpr double kNearlyFull = 90;
    for (const FileSystem& fileSystem : evidence.facts.fileSystems) {
        if (!fileSystem.isReadOnly && fileSystem.inodePercent.value_or(0) >= kNearlyFull) {
            evidence.Add(Weight::Warning,
                         fileSystem.mount + " has " + Percent(*fileSystem.inodePercent) + " of its inodes in use",
                         fileSystem.place);
        }
    }
}

void FindLittleMemory(const Evidence& evidence)
{
    constexpr double kLittle = 10, kNone = 5;
    const auto& memory = evidence.facts.memory;
    const double percent = memory ? memory->available / memory->total * kPercent : kPercent;
    if (percent < kLittle) {
        evidence.Add(
            percent < kNone ? Weight::Serious : Weight::Warning,
            "Memory is short: " + Bytes(memory->available * 1024) + " of " + Bytes(memory->total * 1024) + " available",
            memory->place);
    }
}

void FindFullSwap(const Evidence& evidence)
{
    const auto& memory = evidence.facts.memory;
    if (memory && memory->swapTotal > 0 && memory->swapFree < memory->swapTotal / 2) {
        evidence.Add(Weight::Warning,
                     Percent((1 - memory->swapFree / memory->swapTotal) * kPercent) + " of the swap space is in use",
                     memory->place);
    }
}

void FindKilledProcesses(const Evidence& evidence)
{
    const std::uint64_t killed = evidence.facts.killedForMemory.value_or(0);
    if (killed > 0) {
        evidence.Add(
            Weight::Warning,
            "Since the device started, the kernel has killed a process for want of memory " + Counted(killed, "time"),
            evidence.facts.killedPlace);
    }
}

void FindHighLoad(const Evidence& evidence)
{
    const auto& load = evidence.facts.load;
    const auto& count = evidence.facts.processorCount;
    if (load && count && load->five > static_cast<double>(*count)) {
        evidence.Add(load->five >= 2 * static_cast<double>(*count) ? Weight::Serious : Weight::Warning,
                     "Load " + Decimal(load->five, 2) + " on " + Counted(*count, "processor"), load->place);
    }
}

void FindBusyProcess(const Evidence& evidence)
{
    constexpr double kBusy = 80;
    const Facts& facts = evidence.facts;
    for (const Process& process : facts.sampled.empty() ? facts.processes : facts.sampled) {
        if (process.processor.value_or(0) >= kBusy) {
            evidence.Add(Weight::Warning, process.name + " takes " + Percent(*process.processor) + " of a processor",
                         process.place);
        }
    }
}

void FindPressure(const Evidence& evidence)
{
    constexpr double kHigh = 40;
    for (const Pressure& pressure : evidence.facts.pressures) {
        if (pressure.lastMinute >= kHigh) {
            evidence.Add(Weight::Notice,
                         "Processes waited for " + pressure.resource + " in " + Percent(pressure.lastMinute) +
                             " of the last minute",
                         pressure.place);
        }
    }
}

} // namespace DfsReport
