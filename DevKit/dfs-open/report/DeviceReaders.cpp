#include "Clock.h"
#include "Lines.h"
#include "Readers.h"
#include "StrictJson.h"

#include <json/json.h>

namespace DfsReport
{

namespace
{

// A JSON object of at most 64 KiB; null when it is none.
Json::Value Object(std::string_view text)
{
    try {
        StrictJson::Limits limits;
        limits.bytes = std::size_t{64} * 1024;
        limits.values = 1024;
        Json::Value value = StrictJson::Parse(text, limits);
        return value.isObject() ? value : Json::Value();
    } catch (const StrictJson::Error&) {
        return {};
    }
}

std::optional<std::string> Text(const Json::Value& object, const char* name)
{
    const Json::Value& value = object[name];
    return value.isString() && !value.asString().empty() ? std::optional(value.asString()) : std::nullopt;
}

// Gives the words of each line, at most so many, and the line's place.
template <class Take>
void ForEachRow(const Section& section, std::size_t mostWords, Take take)
{
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        take(Words(line.text, mostWords), Place{section.document, line.number});
    }
}

Update& UpdateOf(Facts& facts)
{
    if (!facts.update) {
        facts.update.emplace();
    }
    return *facts.update;
}

} // namespace

bool ReadManufacturing(const Section& section, Facts& facts)
{
    const Json::Value object = Object(section.body);
    if (object.isNull()) {
        return false;
    }
    facts.productName = Text(object, "productName");
    facts.productType = Text(object, "productType");
    facts.serialNumber = Text(object, "serialNumber");
    facts.guid = Text(object, "guid");
    return true;
}

bool ReadVersion(const Section& section, Facts& facts)
{
    const Json::Value object = Object(section.body);
    const auto version = object.isNull() ? std::nullopt : Text(object, "short");
    if (!version) {
        return false;
    }
    const auto build = Text(object, "build_number"), commit = Text(object, "abbrev_commit");
    facts.version = *version + (build ? '-' + *build : "") + (commit ? '+' + *commit : "");
    return true;
}

bool ReadUptime(const Section& section, Facts& facts)
{
    const auto words = Words(section.body.substr(0, section.body.find('\n')), 2);
    facts.uptime = words.empty() ? std::nullopt : Number(words[0]);
    facts.uptimePlace = {section.document, section.firstLine};
    return facts.uptime.has_value();
}

bool ReadDate(const Section& section, Facts& facts)
{
    const auto time = Clock::FromDate(section.body.substr(0, section.body.find('\n')));
    if (time) {
        facts.collected = time;
        facts.collectedPlace = {section.document, section.firstLine};
    }
    return time.has_value();
}

bool ReadUpdateStatus(const Section& section, Facts& facts)
{
    Update& update = UpdateOf(facts);
    update.statusPlace = {section.document, section.firstLine};
    Lines lines(section.body, section.firstLine);
    for (Line line; update.status.size() < kMostEntries && lines.Next(line);) {
        const std::size_t colon = line.text.find(": ");
        if (colon != std::string_view::npos) {
            update.status[std::string(line.text.substr(0, colon))] = line.text.substr(colon + 2);
        }
    }
    return !update.status.empty();
}

bool ReadUpdateStates(const Section& section, Facts& facts)
{
    Update& update = UpdateOf(facts);
    ForEachRow(section, 5, [&](const auto& words, const Place& place) {
        if (words.size() == 5 && words[1] == "->") {
            update.lastState = words[2];
            update.statePlace = place;
        }
    });
    return !update.lastState.empty();
}

bool ReadReleases(const Section& section, Facts& facts)
{
    Update& update = UpdateOf(facts);
    ForEachRow(section, 3, [&](const auto& words, const Place& place) {
        const auto time = words.size() == 2 ? Clock::FromIso(words[0]) : std::nullopt;
        if (time) {
            update.lastRelease = words[1];
            update.lastReleaseTime = time;
            update.releasePlace = place;
        }
    });
    return update.lastReleaseTime.has_value();
}

bool ReadCoreDumps(const Section& section, Facts& facts)
{
    std::vector<CoreDump> dumps;
    bool isRead = false;
    Lines lines(section.body, section.firstLine);
    for (Line line; dumps.size() < kMostEntries && lines.Next(line);) {
        const auto words = Words(line.text, 10);
        // ls(1) says so of a pattern that matches nothing.
        isRead = isRead || Contains(line.text, "No such file") || StartsWith(line.text, "total ");
        if (words.size() >= 9 && words[0].size() >= 10 && words[0][0] == '-') {
            const std::size_t path = static_cast<std::size_t>(words[8].data() - line.text.data());
            dumps.push_back({std::string(line.text.substr(path)),
                             std::string(words[4]),
                             std::string(words[5]) + ' ' + std::string(words[6]) + ' ' + std::string(words[7]),
                             {section.document, line.number}});
        }
    }
    isRead = isRead || !dumps.empty();
    if (isRead) {
        facts.coreDumps = dumps;
    }
    return isRead;
}

} // namespace DfsReport
