#include "Clock.h"
#include "Lines.h"
#include "LogLine.h"
#include "Markup.h"
#include "Numbers.h"
#include "Rules.h"

#include <algorithm>
#include <cctype>

namespace DfsReport
{

namespace
{

constexpr std::size_t kLongestQuote = 120;

bool NamesFailure(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return Contains(text, "rollback") || Contains(text, "rolled back") || Contains(text, "invalid") ||
           ParseLogLine(text, {}).severity == Severity::Error;
}

} // namespace

void FindBrokenItems(const Evidence& evidence)
{
    for (std::size_t index = 0; index < evidence.collection.documents.size(); ++index) {
        const DfsOpen::Item& item = evidence.collection.documents[index].item;
        if (!item.IsSound()) {
            const std::string why = item.text.empty() ? "it is not in the manifest" : item.text;
            evidence.Add(item.outcome == DfsOpen::Outcome::Whole ? Weight::Notice : Weight::Serious,
                         "Item \"" + NameOf(item) + "\": " + why, Place{index, 0});
        }
    }
}

void FindArchiveFaults(const Evidence& evidence)
{
    for (const std::string& fault : evidence.collection.faults) {
        evidence.Add(Weight::Serious, fault);
    }
}

void FindCutItems(const Evidence& evidence)
{
    for (const auto& [place, bytes] : evidence.facts.cuts) {
        evidence.Add(Weight::Warning,
                     "Item \"" + NameOf(evidence.collection.documents[place.document].item) +
                         "\": " + Counted(bytes, "byte") + " missing at line " + std::to_string(place.line),
                     place);
    }
}

void FindCrashes(const Evidence& evidence)
{
    constexpr std::uint64_t kLoop = 3;
    if (!evidence.facts.log) {
        return;
    }
    for (const auto& [program, crash] : evidence.facts.log->crashes) {
        const bool isLoop = crash.Count() >= kLoop;
        evidence.Add(isLoop ? Weight::Serious : Weight::Warning,
                     program + (isLoop ? " crashes again and again: " : " crashed: ") + Counted(crash.Count(), "time") +
                         " in the logs",
                     crash.place);
    }
}

void FindCoreDumps(const Evidence& evidence)
{
    const auto& dumps = evidence.facts.coreDumps;
    if (dumps && !dumps->empty()) {
        evidence.Add(
            Weight::Warning,
            Counted(dumps->size(), "core dump") + ", the first " + dumps->front().path + " of " + dumps->front().time,
            dumps->front().place);
    }
}

void FindLogErrors(const Evidence& evidence)
{
    constexpr std::uint64_t kHighRate = 10;
    const auto& log = evidence.facts.log;
    if (!log || log->lines[0] == 0) {
        return;
    }
    const auto worst = std::max_element(
        log->minutes.begin(), log->minutes.end(),
        [](const auto& one, const auto& other) { return one.second.lines[0] < other.second.lines[0]; });
    const auto most = std::max_element(log->errors.begin(), log->errors.end(), [](const auto& one, const auto& other) {
        return one.second.count < other.second.count;
    });
    const bool isHigh = worst != log->minutes.end() && worst->second.lines[0] >= kHighRate;
    std::string text = Counted(log->lines[0], "error") + " in the logs";
    if (isHigh) {
        text += ", up to " + std::to_string(worst->second.lines[0]) + " a minute at " + Clock::Text(worst->first);
    }
    if (most != log->errors.end()) {
        text += "; most often: " + Markup::Shortened(most->second.text, kLongestQuote);
    }
    evidence.Add(
        isHigh ? Weight::Serious : Weight::Notice, text,
        isHigh ? worst->second.first : (most != log->errors.end() ? std::optional(most->second.place) : std::nullopt));
}

void FindRestarts(const Evidence& evidence)
{
    constexpr double kJustNow = 10 * 60;
    const Facts& facts = evidence.facts;
    if (facts.uptime && *facts.uptime < kJustNow) {
        evidence.Add(Weight::Warning,
                     "The device has been up for " + Clock::Duration(static_cast<Seconds>(*facts.uptime)) + " only",
                     facts.uptimePlace);
    }
    if (facts.log && facts.log->boots.size() > 1) {
        evidence.Add(Weight::Warning,
                     "The device started " + Counted(facts.log->boots.size(), "time") + " within its logs",
                     facts.log->boots.back());
    }
}

void FindFailedUpdate(const Evidence& evidence)
{
    if (!evidence.facts.update) {
        return;
    }
    const Update& update = *evidence.facts.update;
    for (const auto& [name, value] : update.status) {
        if (NamesFailure(value)) {
            evidence.Add(Weight::Serious,
                         std::string("Update: ").append(name).append(" is \"").append(value).append("\""),
                         update.statusPlace);
        }
    }
    if (NamesFailure(update.lastState)) {
        evidence.Add(Weight::Serious, "The update ended in the state \"" + update.lastState + '"', update.statePlace);
    }
}

void FindUnsetClock(const Evidence& evidence)
{
    constexpr Seconds k2020 = 1577836800;
    const Facts& facts = evidence.facts;
    const Seconds release = facts.update ? facts.update->lastReleaseTime.value_or(0) : 0;
    if (facts.collected && *facts.collected < std::max(k2020, release)) {
        evidence.Add(Weight::Serious, "The clock is not set: it says " + Clock::Text(*facts.collected),
                     facts.collectedPlace);
    }
}

void FindDeadNetwork(const Evidence& evidence)
{
    const auto& interfaces = evidence.facts.interfaces;
    bool isKnown = false;
    for (const Interface& interface : interfaces) {
        isKnown = isKnown || interface.isUp.has_value();
        if (interface.name != "lo" && interface.isUp.value_or(false) && interface.hasCarrier.value_or(false)) {
            return;
        }
    }
    if (isKnown) {
        std::string text = "The network is down: ";
        for (const Interface& interface : interfaces) {
            if (interface.name != "lo") {
                text += interface.name + (interface.isUp.value_or(false) ? " has no link, " : " is off, ");
            }
        }
        text += interfaces.size() <= 1 ? "there is no interface but the loopback one" : "";
        evidence.Add(Weight::Serious, text.substr(0, text.find_last_not_of(", ") + 1), interfaces.back().place);
    }
}

void FindNoRoute(const Evidence& evidence)
{
    const Facts& facts = evidence.facts;
    if (facts.hasDefaultRoute && !*facts.hasDefaultRoute) {
        evidence.Add(Weight::Warning, "There is no default route: nothing beyond the local network can be reached",
                     facts.routePlace);
    }
    if (facts.nameServers && *facts.nameServers == 0) {
        evidence.Add(Weight::Warning, "There is no name server: no host can be found by its name");
    }
}

void FindLossyInterface(const Evidence& evidence)
{
    constexpr double kMostLost = 1000;
    for (const Interface& interface : evidence.facts.interfaces) {
        const double lost = static_cast<double>(interface.receiveErrors) + static_cast<double>(interface.receiveDrops) +
                            static_cast<double>(interface.sendErrors) + static_cast<double>(interface.sendDrops);
        const double all =
            static_cast<double>(interface.received.value_or(0)) + static_cast<double>(interface.sent.value_or(0));
        if (lost > 0 && lost * kMostLost >= all) {
            evidence.Add(Weight::Warning,
                         interface.name + " lost " + Decimal(lost, 0) + " of " + Decimal(all, 0) + " packets",
                         interface.place);
        }
    }
}

void FindFailedTools(const Evidence& evidence)
{
    for (const auto& [text, place] : evidence.facts.ended) {
        evidence.Add(Weight::Notice, text, place);
    }
}

} // namespace DfsReport
