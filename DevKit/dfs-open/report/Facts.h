#pragma once

#include "TextWriter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/** What the items of an archive tell of a device. What no item tells is not there; nothing is made up. */
namespace DfsReport
{

/** Entries of each list of facts; what is beyond is told as not read. */
constexpr std::size_t kMostEntries = 1000;

/** Seconds since 1970-01-01T00:00:00Z; of a log, as if its times were of UTC, whatever zone it names. */
using Seconds = std::int64_t;

/** In KiB. */
struct Memory
{
    double total = 0, available = 0, swapTotal = 0, swapFree = 0;
    Place place;
};

struct FileSystem
{
    std::string device, mount, size, used, available; ///< Sizes as the device printed them.
    std::optional<double> percent, inodePercent;
    bool isReadOnly = false;
    Place place;
};

struct LoadAverage
{
    double one = 0, five = 0, fifteen = 0;
    Place place;
};

/** Use over about one second, in percent of the processor. */
struct Processor
{
    std::string name;
    double user = 0, system = 0, wait = 0, idle = 0;
    Place place;
};

/** Of a resource, the share of the last minute in which some process waited for it, in percent. */
struct Pressure
{
    std::string resource;
    double lastMinute = 0;
    Place place;
};

struct Process
{
    std::string pid, name;
    std::optional<double> processor;             ///< In percent of one processor.
    std::optional<double> resident, virtualSize; ///< In KiB.
    Place place;
};

struct Interface
{
    std::string name;
    std::optional<std::uint64_t> received, sent; ///< Packets.
    std::uint64_t receiveErrors = 0, receiveDrops = 0, sendErrors = 0, sendDrops = 0;
    std::optional<bool> isUp, hasCarrier;
    std::vector<std::string> addresses;
    Place place;
};

struct CoreDump
{
    std::string path, size, time; ///< As ls(1) printed them.
    Place place;
};

enum class Severity
{
    Error,
    Warning,
    Other,
};

/** Log lines of one minute. */
struct Minute
{
    std::array<std::uint64_t, 3> lines{}; ///< By severity.
    Place first;                          ///< The first line of the most serious ones.
    Severity firstSeverity = Severity::Other;

    std::uint64_t All() const { return lines[0] + lines[1] + lines[2]; }
};

using Minutes = std::map<Seconds, Minute>;

/** Lines that say the same but for their numbers. */
struct Message
{
    std::string text; ///< The first of them.
    std::uint64_t count = 0;
    Place place;
};

/** A program or service that ended by itself. The kernel and the service manager may both tell of one crash. */
struct Crash
{
    std::array<std::uint64_t, 2> told{}; ///< By each of the two.
    Place place;

    std::uint64_t Count() const { return std::max(told[0], told[1]); }
};

struct Log
{
    Minutes minutes; ///< By the second in which the minute begins.
    std::array<std::uint64_t, 3> lines{};
    std::uint64_t undated = 0;
    std::map<std::string, Message> errors; ///< By the text without its numbers.
    std::map<std::string, Crash> crashes;  ///< By the program or service.
    std::vector<Place> boots;              ///< Where the kernel began, of the log that has the most.
    std::uint64_t sections = 0;            ///< Logs that were read.
};

struct Update
{
    std::map<std::string, std::string> status; ///< Such as "state", "lastResult".
    std::string lastState;                     ///< The one that the last change of states led to.
    std::string lastRelease;
    std::optional<Seconds> lastReleaseTime;
    Place statusPlace, statePlace, releasePlace;
};

struct Facts
{
    std::optional<std::string> productName, productType, serialNumber, guid, version;
    std::optional<Seconds> collected; ///< By the device's clock.
    Place collectedPlace;
    std::optional<double> uptime; ///< In seconds.
    Place uptimePlace;
    std::optional<Memory> memory;
    std::vector<FileSystem> fileSystems;
    std::optional<LoadAverage> load;
    std::optional<std::size_t> processorCount;
    std::vector<Processor> processors;
    std::vector<Processor> firstSample; ///< Of /proc/stat, in ticks since the start of the device.
    std::vector<Pressure> pressures;
    std::vector<Process> processes; ///< Of ps(1) or top(1).
    std::vector<Process> sampled;   ///< Of pidstat(1), over the sampled second.
    std::vector<Interface> interfaces;
    std::optional<bool> hasDefaultRoute;
    Place routePlace;
    std::optional<std::size_t> nameServers;
    std::optional<std::uint64_t> killedForMemory;
    Place killedPlace;
    std::optional<std::vector<CoreDump>> coreDumps;
    std::optional<Log> log;
    std::unordered_map<std::size_t, std::size_t> seenLines; ///< By hash, which log had a line first.
    std::optional<Update> update;
    std::map<Place, std::uint64_t> cuts; ///< Bytes that the device has left out there.
    std::map<std::string, Place> ended;  ///< Tools that failed or were ended, by what the item says.
    std::vector<std::string> unread;     ///< What is there and was not understood, in words for the user.
};

} // namespace DfsReport
