#include "Clock.h"
#include "Lines.h"
#include "LogLine.h"
#include "Readers.h"

#include <functional>
#include <utility>

namespace DfsReport
{

namespace
{

// What is kept of logs; lines beyond are counted by their severity only.
constexpr std::size_t kMostMinutes = std::size_t{50} * 1000;
constexpr std::size_t kMostMessages = 2000;
constexpr std::size_t kMostSeen = std::size_t{500} * 1000;
constexpr std::size_t kLongestSample = 240;

void Count(std::map<std::string, Message>& messages, const std::string& name, std::string_view text, const Place& place)
{
    const auto found = messages.find(name);
    if (found != messages.end()) {
        ++found->second.count;
    } else if (messages.size() < kMostMessages) {
        messages[name] = {std::string(text.substr(0, kLongestSample)), 1, place};
    }
}

void CountCrash(Log& log, std::string_view message, const Place& place)
{
    for (const Teller teller : {Teller::Kernel, Teller::ServiceManager}) {
        const std::string program = CrashedProgram(message, teller);
        if (!program.empty() && (log.crashes.size() < kMostMessages || log.crashes.count(program) != 0)) {
            Crash& crash = log.crashes.try_emplace(program, Crash{{}, place}).first->second;
            ++crash.told[static_cast<std::size_t>(teller)];
        }
    }
}

// Whether another log has the line, too; one log may repeat its own.
bool IsSeenElsewhere(Facts& facts, const LogLine& line, std::size_t section)
{
    // Each log has a time of its own for what the kernel said before it began.
    const bool isKernel = !line.kernel.empty();
    if ((!isKernel && !line.time) || facts.seenLines.size() >= kMostSeen) {
        return false;
    }
    const std::hash<std::string_view> hash;
    const std::size_t key = isKernel ? hash(line.kernel) : hash(line.message) ^ static_cast<std::size_t>(*line.time);
    return facts.seenLines.emplace(key, section).first->second != section;
}

void CountMinute(Log& log, const LogLine& line, const Place& place)
{
    const Seconds minute = *line.time - (*line.time % Clock::kMinute + Clock::kMinute) % Clock::kMinute;
    const auto found = log.minutes.find(minute);
    if (found == log.minutes.end() && log.minutes.size() >= kMostMinutes) {
        ++log.undated;
        return;
    }
    Minute& counted = found == log.minutes.end() ? log.minutes[minute] : found->second;
    const bool isFirst = counted.All() == 0;
    if (isFirst || line.severity < counted.firstSeverity) {
        counted.first = place;
        counted.firstSeverity = line.severity;
    }
    ++counted.lines[static_cast<std::size_t>(line.severity)];
}

} // namespace

bool ReadLog(const Section& section, Facts& facts)
{
    Log log = facts.log ? std::move(*facts.log) : Log();
    ++log.sections;
    std::vector<Place> boots;
    LogClock clock{facts.collected, std::nullopt};
    if (facts.collected && facts.uptime) {
        clock.started = *facts.collected - static_cast<Seconds>(*facts.uptime);
    }
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        if (line.text.empty() || StartsWith(line.text, "-- ") || line.text == "No journal files were found.") {
            // journalctl(1) says so that there is nothing, or where a boot begins.
            continue;
        }
        const LogLine parsed = ParseLogLine(line.text, clock);
        const Place place{section.document, line.number};
        if (StartsWith(parsed.kernel, "Linux version ") && boots.size() < kMostEntries) {
            boots.push_back(place);
        }
        if (IsSeenElsewhere(facts, parsed, log.sections)) {
            continue;
        }
        ++log.lines[static_cast<std::size_t>(parsed.severity)];
        if (parsed.time) {
            CountMinute(log, parsed, place);
        } else {
            ++log.undated;
        }
        if (parsed.severity == Severity::Error) {
            Count(log.errors, Signature(parsed.message), parsed.message, place);
        }
        CountCrash(log, parsed.message, place);
    }
    // Each log may have the same starts.
    log.boots = boots.size() > log.boots.size() ? boots : log.boots;
    if (log.lines[0] + log.lines[1] + log.lines[2] > 0) {
        facts.log = std::move(log);
    }
    return true;
}

} // namespace DfsReport
