#include "Listing.h"

#include "Clock.h"
#include "Escape.h"
#include "ReportRun.h"

#include <json/json.h>

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace DfsReport
{

namespace
{

std::vector<std::string> Archives(const std::string& folder)
{
    const std::string suffix = ".tar.gz";
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path().string();
        if (path.size() > suffix.size() && path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0) {
            paths.push_back(path);
        }
        if (paths.size() > kMostArchives) {
            throw std::invalid_argument(folder + " has more than " + std::to_string(kMostArchives) + " archives");
        }
    }
    if (error) {
        throw std::invalid_argument("cannot read the folder " + folder + ": " + error.message());
    }
    if (paths.empty()) {
        throw std::invalid_argument(folder + " has no archive: no name in it ends in " + suffix);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// An archive that cannot be opened has one finding.
Archive ReadOrTell(const std::string& path, const DfsOpen::PrivateKey& key, const DfsOpen::Limits& limits)
{
    try {
        return Read(path, key, limits);
    } catch (const std::invalid_argument& error) {
        Archive archive;
        archive.collection.name = std::filesystem::path(path).filename().string();
        archive.collection.faults = {error.what()};
        archive.findings = Find(archive.collection, archive.facts);
        return archive;
    }
}

// "2026-11-22T01:16:29Z", without a blank, so that each column is a word.
std::string Time(Seconds time)
{
    std::string text = Clock::Text(time);
    std::replace(text.begin(), text.end(), ' ', 'T');
    return text + 'Z';
}

// A line of JSON; texts in it are valid UTF-8, and no control characters reach a terminal.
void PrintJson(const Archive& archive, std::ostream& out)
{
    const auto text = [](const std::optional<std::string>& value) {
        return value ? Json::Value(Escape::Text(*value)) : Json::Value();
    };
    const Facts& facts = archive.facts;
    Json::Value object(Json::objectValue);
    object["archive"] = Escape::Text(archive.collection.name);
    object["device"] = text(facts.serialNumber);
    object["product"] = text(facts.productName);
    object["version"] = text(facts.version);
    object["time"] = facts.collected ? Json::Value(Time(*facts.collected)) : Json::Value();
    object["isWhole"] = archive.IsSound();
    object["isSealed"] = archive.collection.isSealed;
    object["findings"] = Json::Value(Json::arrayValue);
    const char* const weights[] = {"serious", "warning", "notice"};
    for (const Finding& finding : archive.findings) {
        Json::Value entry(Json::objectValue);
        entry["weight"] = weights[static_cast<std::size_t>(finding.weight)];
        entry["text"] = Escape::Text(finding.text);
        object["findings"].append(entry);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    out << Json::writeString(builder, object) << '\n';
}

// One word for a column, whatever the device calls itself.
std::string Word(const std::optional<std::string>& text)
{
    std::string word = Escape::Name(text.value_or("-"));
    for (std::size_t at = word.find(' '); at != std::string::npos; at = word.find(' ')) {
        word.replace(at, 1, "\\x20");
    }
    return word;
}

void PrintColumns(const Archive& archive, std::ostream& out)
{
    constexpr int kTime = 20, kDevice = 20, kVersion = 24, kCount = 8;
    const Facts& facts = archive.facts;
    const auto serious = std::count_if(archive.findings.begin(), archive.findings.end(),
                                       [](const Finding& finding) { return finding.weight == Weight::Serious; });
    const bool isUnknown = archive.collection.isSealed && archive.findings.empty();
    const auto count = [&](std::size_t number) { return isUnknown ? "-" : std::to_string(number); };
    const std::string first = archive.findings.empty() ? "-" : Escape::Name(archive.findings.front().text, 100);
    out << std::left << std::setw(kTime) << (facts.collected ? Time(*facts.collected) : "-") << "  "
        << std::setw(kDevice) << Word(facts.serialNumber) << "  " << std::setw(kVersion) << Word(facts.version) << "  "
        << std::right << std::setw(kCount) << count(archive.findings.size()) << "  " << std::setw(kCount)
        << count(static_cast<std::size_t>(serious)) << "  " << Word(archive.collection.name) << "  "
        << (isUnknown ? "sealed: without the key nobody knows" : first) << '\n';
}

} // namespace

bool List(const std::string& folder, const std::optional<std::string>& key, const DfsOpen::Limits& limits, bool isJson,
          std::ostream& out)
{
    const std::vector<std::string> paths = Archives(folder);
    if (!isJson) {
        out << "TIME                  DEVICE                VERSION                   FINDINGS   SERIOUS  ARCHIVE  "
               "FIRST FINDING\n";
    }
    const DfsOpen::PrivateKey opened = DfsOpen::ReadPrivateKey(key);
    bool isSound = true;
    for (const std::string& path : paths) {
        const Archive archive = ReadOrTell(path, opened, limits);
        isSound = isSound && archive.IsSound();
        if (isJson) {
            PrintJson(archive, out);
        } else {
            PrintColumns(archive, out);
        }
        out.flush();
    }
    return isSound;
}

} // namespace DfsReport
