#include "Findings.h"

#include "Rules.h"

#include <algorithm>

namespace DfsReport
{

namespace
{

struct Rule
{
    const char* text; ///< As the reader sees it.
    Subject subject;
    void (*find)(const Evidence& evidence);
};

// To add a rule: a line here, and its function in ResourceRules.cpp or DeviceRules.cpp. The thresholds stand with the
// functions.
constexpr Rule kRules[] = {
    {"an item of the manifest is missing, damaged or refused, or a member is not in the manifest", Subject::Archive,
     FindBrokenItems},
    {"the archive itself has a fault, or the device has left an item out", Subject::Archive, FindArchiveFaults},
    {"the device has cut an item, as it was too large", Subject::Archive, FindCutItems},
    {"a file system that can be written to is 90 % full; serious from 97 %", Subject::Storage, FindFullFileSystems},
    {"90 % of a file system's inodes are in use", Subject::Storage, FindFullInodes},
    {"less than 10 % of the memory is available; serious below 5 %", Subject::Memory, FindLittleMemory},
    {"a service or program crashed; serious from 3 times on", Subject::Crashes, FindCrashes},
    {"no network interface but the loopback one is up and has a link", Subject::Network, FindDeadNetwork},
    {"there is no default route, or no name server", Subject::Network, FindNoRoute},
    {"the update's state or last result names a failure", Subject::Update, FindFailedUpdate},
    {"the device's clock is before 2020, or before its last update", Subject::Clock, FindUnsetClock},
    {"the kernel counts a process that it has killed for want of memory", Subject::Memory, FindKilledProcesses},
    {"there is a core dump", Subject::Crashes, FindCoreDumps},
    {"the load of 5 minutes is above the number of processors; serious from twice that number", Subject::Load,
     FindHighLoad},
    {"a log has 10 errors in one minute, or any; by the severity or the words of its lines", Subject::Log,
     FindLogErrors},
    {"the device started less than 10 minutes ago, or twice within its logs", Subject::Crashes, FindRestarts},
    {"half of the swap space is in use", Subject::Memory, FindFullSwap},
    {"a process takes 80 % of a processor", Subject::Load, FindBusyProcess},
    {"processes waited for a resource in 40 % of the last minute", Subject::Load, FindPressure},
    {"an interface has lost 1 in 1000 of its packets", Subject::Network, FindLossyInterface},
    {"a tool did not end well on the device", Subject::Archive, FindFailedTools},
};

} // namespace

std::vector<Finding> Find(const Collection& collection, const Facts& facts)
{
    std::vector<Finding> findings;
    for (const Rule& rule : kRules) {
        const std::size_t before = findings.size();
        rule.find({collection, facts, findings});
        for (std::size_t index = before; index < findings.size(); ++index) {
            findings[index].rule = rule.text;
            findings[index].subject = rule.subject;
        }
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& one, const Finding& other) { return one.weight < other.weight; });
    return findings;
}

} // namespace DfsReport
