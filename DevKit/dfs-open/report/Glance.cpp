#include "Glance.h"

#include "Charts.h"
#include "Clock.h"
#include "Markup.h"
#include "Numbers.h"

#include <algorithm>
#include <utility>

namespace DfsReport
{

namespace
{

constexpr std::size_t kShownFindings = 5;
constexpr std::size_t kMostFindings = 200;
constexpr std::size_t kMostUnread = 50;
constexpr std::size_t kLongestShown = 400;

const char* const kStates[] = {"serious", "warning", "notice"};
const char* const kWeights[] = {"Serious", "Warning", "Notice"};
const char* const kSigns[] = {"\xe2\x9c\x95", "!", "i"};

View FindingView(const Finding& finding)
{
    const auto weight = static_cast<std::size_t>(finding.weight);
    View view;
    view.Set("state", kStates[weight])
        .Set("weight", std::string(kSigns[weight]) + ' ' + kWeights[weight])
        .Set("text", Markup::Shortened(finding.text, kLongestShown))
        .Set("rule", finding.rule);
    return Link(view, finding.place);
}

void SetFindings(View& page, const std::vector<Finding>& findings)
{
    std::vector<View> first, more;
    for (const Finding& finding : findings) {
        if (first.size() + more.size() < kMostFindings) {
            (first.size() < kShownFindings ? first : more).push_back(FindingView(finding));
        }
    }
    const std::size_t left = findings.size() - first.size();
    page.Set("hasMore", left > 0)
        .Set("moreTitle", Counted(left, "more finding") +
                              (left > more.size() ? ", the first " + std::to_string(more.size()) + " shown" : ""))
        .Set("findings", std::move(first))
        .Set("more", std::move(more));
}

// The value is nothing when the archive does not tell it.
View Tile(const std::string& name, Subject subject, const std::string& target, const std::optional<std::string>& value,
          const std::vector<Finding>& findings)
{
    const auto worst = std::find_if(findings.begin(), findings.end(),
                                    [subject](const Finding& finding) { return finding.subject == subject; });
    View tile;
    tile.Set("name", name).Set("target", target).Set("value", value.value_or("not known"));
    if (worst != findings.end()) {
        const auto weight = static_cast<std::size_t>(worst->weight);
        return tile.Set("state", kStates[weight]).Set("sign", kSigns[weight]);
    }
    return value ? tile.Set("state", "good").Set("sign", "\xe2\x9c\x93")
                 : tile.Set("state", "unknown").Set("sign", "?");
}

std::optional<std::string> MemoryValue(const Facts& facts)
{
    return facts.memory ? std::optional(Bytes(facts.memory->available * 1024) + " free") : std::nullopt;
}

std::optional<std::string> StorageValue(const Facts& facts)
{
    const FileSystem* fullest = nullptr;
    for (const FileSystem& other : facts.fileSystems) {
        if (!other.isReadOnly && other.percent && (fullest == nullptr || *other.percent > *fullest->percent)) {
            fullest = &other;
        }
    }
    return fullest != nullptr ? std::optional(Decimal(*fullest->percent, 0) + " % " + fullest->mount) : std::nullopt;
}

std::optional<std::string> LoadValue(const Facts& facts)
{
    if (!facts.load) {
        return std::nullopt;
    }
    return Decimal(facts.load->five, 2) + (facts.processorCount ? " on " + std::to_string(*facts.processorCount) : "");
}

std::optional<std::string> NetworkValue(const Facts& facts)
{
    std::size_t up = 0;
    bool isKnown = false;
    for (const Interface& interface : facts.interfaces) {
        isKnown = isKnown || interface.isUp.has_value();
        up += interface.name != "lo" && interface.isUp.value_or(false) && interface.hasCarrier.value_or(false) ? 1 : 0;
    }
    return isKnown ? std::optional(up == 0 ? "down" : std::to_string(up) + " up") : std::nullopt;
}

std::optional<std::string> LogValue(const Facts& facts)
{
    return facts.log ? std::optional(Counted(facts.log->lines[0], "error")) : std::nullopt;
}

std::optional<std::string> CrashValue(const Facts& facts)
{
    std::uint64_t crashes = 0;
    if (facts.log) {
        for (const auto& [program, crash] : facts.log->crashes) {
            crashes += crash.Count();
        }
    }
    const std::string dumps = facts.coreDumps ? Counted(facts.coreDumps->size(), "dump") : "";
    if (!facts.log) {
        return facts.coreDumps ? std::optional(dumps) : std::nullopt;
    }
    return std::to_string(crashes) + (crashes == 1 ? " crash" : " crashes") + (dumps.empty() ? "" : ", " + dumps);
}

std::optional<std::string> UpdateValue(const Facts& facts)
{
    if (!facts.update) {
        return std::nullopt;
    }
    const auto result = facts.update->status.find("lastResult");
    return result != facts.update->status.end() ? std::optional(Markup::Shortened(result->second, 24)) : std::nullopt;
}

std::optional<std::string> ClockValue(const Facts& facts)
{
    constexpr std::size_t kDate = 10;
    if (!facts.collected) {
        return std::nullopt;
    }
    std::string date = Clock::Text(*facts.collected).substr(0, kDate);
    for (std::size_t at = date.find('-'); at != std::string::npos; at = date.find('-', at)) {
        // A hyphen at which no line ends.
        date.replace(at, 1, "\xe2\x80\x91");
    }
    return date;
}

// What it says of an archive when no rule has found anything.
const char* NoFindings(const Collection& collection)
{
    return collection.isSealed ? "Sealed: only the key tells what is in it" : "Nothing out of the ordinary";
}

View Fact(const std::string& name, const std::optional<std::string>& value, bool isSealed)
{
    constexpr std::size_t kLongest = 100;
    return View()
        .Set("name", name)
        .Set("value", value ? Markup::Shortened(*value, kLongest) : (isSealed ? "sealed" : "not in the archive"))
        .Set("isAbsent", !value);
}

std::string Integrity(const Collection& collection)
{
    std::uint64_t whole = 0, sealed = 0;
    for (const Document& document : collection.documents) {
        whole += document.item.IsSound() && document.item.outcome == DfsOpen::Outcome::Whole ? 1 : 0;
        sealed += document.item.IsSound() && document.item.outcome == DfsOpen::Outcome::Sealed ? 1 : 0;
    }
    const std::uint64_t broken = collection.documents.size() - whole - sealed;
    return Counted(collection.documents.size(), "item") + ": " + std::to_string(whole) + " whole" +
           (sealed > 0 ? ", " + std::to_string(sealed) + " sealed" : "") +
           (broken > 0 ? ", " + std::to_string(broken) + " missing, damaged or not accounted for" : "");
}

} // namespace

std::vector<std::string> Unread(const Collection& collection, const Facts& facts)
{
    std::vector<std::string> unread = collection.faults;
    if (collection.isSealed) {
        unread.emplace_back("There is no key: no item is opened, and nothing is known of the device.");
    }
    for (const Document& document : collection.documents) {
        if (!document.item.IsSound()) {
            unread.push_back("Item \"" + NameOf(document.item) +
                             "\": " + (document.item.text.empty() ? "it is not in the manifest" : document.item.text));
        }
        if (document.isCut) {
            unread.push_back("Item \"" + NameOf(document.item) + "\" is shown up to " +
                             Bytes(static_cast<double>(document.text.size())) + " only; dfs-open --cat shows it all");
        }
    }
    for (const auto& [place, bytes] : facts.cuts) {
        unread.push_back("Item \"" + NameOf(collection.documents[place.document].item) +
                         "\" was too large: the device has cut " + Counted(bytes, "byte") + " at line " +
                         std::to_string(place.line));
    }
    for (const std::string& section : facts.unread) {
        unread.push_back("Not understood: " + section + ". Its text is shown as it is.");
    }
    if (unread.size() > kMostUnread) {
        const std::size_t more = unread.size() - kMostUnread;
        unread.resize(kMostUnread);
        unread.push_back("and " + std::to_string(more) + " more");
    }
    return unread;
}

void SetGlance(View& page, const Collection& collection, const Facts& facts, const std::vector<Finding>& findings)
{
    std::vector<View> unread;
    for (const std::string& text : Unread(collection, facts)) {
        unread.push_back(View().Set("text", Markup::Shortened(text, kLongestShown)));
    }
    page.Set("hasBanner", !unread.empty());
    page.Set("unread", std::move(unread));

    const std::size_t serious = static_cast<std::size_t>(std::count_if(
        findings.begin(), findings.end(), [](const Finding& finding) { return finding.weight == Weight::Serious; }));
    page.Set("product", facts.productName.value_or("Diagnostic files"))
        .Set("serial", facts.serialNumber.value_or(""))
        .Set("collected", facts.collected ? Clock::Text(*facts.collected) : collection.name)
        .Set("archive", collection.name)
        .Set("headline", findings.empty() ? NoFindings(collection)
                                          : Counted(findings.size(), "finding") +
                                                (serious > 0 ? ", " + std::to_string(serious) + " serious" : ""));
    const auto fact = [&](const std::string& name, const std::optional<std::string>& value) {
        return Fact(name, value, collection.isSealed);
    };
    page.Set("isSealed", collection.isSealed);
    page.Set(
        "identity",
        {fact("Device", facts.productName ? std::optional(*facts.productName +
                                                          (facts.productType ? " (" + *facts.productType + ')' : ""))
                                          : std::nullopt),
         fact("Serial number", facts.serialNumber), fact("Identifier", facts.guid), fact("Software", facts.version),
         fact("Collected, by the device's clock",
              facts.collected ? std::optional(Clock::Text(*facts.collected) + " UTC") : std::nullopt),
         fact("Up for",
              facts.uptime ? std::optional(Clock::Duration(static_cast<Seconds>(*facts.uptime))) : std::nullopt),
         fact("Archive", Bytes(static_cast<double>(collection.size)) + ", " + Integrity(collection))});
    page.Set("tiles", {Tile("Memory", Subject::Memory, "memory", MemoryValue(facts), findings),
                       Tile("Fullest disk", Subject::Storage, "storage", StorageValue(facts), findings),
                       Tile("Load, 5 min", Subject::Load, "load", LoadValue(facts), findings),
                       Tile("Network", Subject::Network, "network", NetworkValue(facts), findings),
                       Tile("Log", Subject::Log, "log", LogValue(facts), findings),
                       Tile("Crashes", Subject::Crashes, "log", CrashValue(facts), findings),
                       Tile("Last update", Subject::Update, "findings", UpdateValue(facts), findings),
                       Tile("Clock", Subject::Clock, "findings", ClockValue(facts), findings)});
    SetFindings(page, findings);
}

} // namespace DfsReport
