#include "Compare.h"

#include "Clock.h"
#include "Glance.h"
#include "LogLine.h"
#include "Markup.h"
#include "Numbers.h"
#include "Timeline.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace DfsReport
{

namespace
{

constexpr std::size_t kMostDifferences = 500;
constexpr std::size_t kMostErrors = 50;
constexpr std::size_t kLongestShown = 200;

class Differences
{
public:
    void Add(const std::string& what, const std::string& before, const std::string& now)
    {
        if (before != now && m_views.size() < kMostDifferences) {
            m_views.push_back(View()
                                  .Set("what", Markup::Shortened(what, kLongestShown))
                                  .Set("before", Markup::Shortened(before, kLongestShown))
                                  .Set("now", Markup::Shortened(now, kLongestShown)));
        }
    }

    void Add(const std::string& what, const std::optional<std::string>& before, const std::optional<std::string>& now)
    {
        Add(what, before.value_or("not known"), now.value_or("not known"));
    }

    std::vector<View> Take() { return std::move(m_views); }

private:
    std::vector<View> m_views;
};

// What is said of each item, by its name. Of several of one name, the last.
std::map<std::string, std::string> Items(const Collection& collection)
{
    std::map<std::string, std::string> items;
    for (const Document& document : collection.documents) {
        const DfsOpen::Item& item = document.item;
        const std::string size = item.plainSize ? Bytes(static_cast<double>(*item.plainSize)) : "unknown size";
        items[NameOf(item)] = item.text.empty() ? size : size + ", " + item.text;
    }
    return items;
}

template <class Map>
std::string Or(const Map& map, const std::string& name, const char* absent)
{
    const auto found = map.find(name);
    return found == map.end() ? absent : found->second;
}

void AddItems(Differences& differences, const Archive& archive, const Archive& other)
{
    const auto now = Items(archive.collection), before = Items(other.collection);
    auto names = now;
    names.insert(before.begin(), before.end());
    for (const auto& [name, text] : names) {
        differences.Add("Item " + name, Or(before, name, "not there"), Or(now, name, "not there"));
    }
}

// Findings are compared by their texts without numbers, which differ each time.
std::set<std::string> Texts(const std::vector<Finding>& findings)
{
    std::set<std::string> texts;
    for (const Finding& finding : findings) {
        texts.insert(finding.rule + '\n' + Signature(finding.text));
    }
    return texts;
}

void AddFindings(Differences& differences, const Archive& archive, const Archive& other)
{
    const std::set<std::string> before = Texts(other.findings), now = Texts(archive.findings);
    for (const Finding& finding : archive.findings) {
        if (before.count(finding.rule + '\n' + Signature(finding.text)) == 0) {
            differences.Add("Finding", std::string("not found"), finding.text);
        }
    }
    for (const Finding& finding : other.findings) {
        if (now.count(finding.rule + '\n' + Signature(finding.text)) == 0) {
            differences.Add("Finding", finding.text, std::string("not found"));
        }
    }
}

std::vector<View> NewErrors(const Archive& archive, const Archive& other)
{
    std::vector<const Message*> messages;
    if (archive.facts.log) {
        for (const auto& [signature, message] : archive.facts.log->errors) {
            if (!other.facts.log || other.facts.log->errors.count(signature) == 0) {
                messages.push_back(&message);
            }
        }
    }
    return MessageViews(messages, kMostErrors);
}

std::optional<std::string> Time(const std::optional<Seconds>& time)
{
    return time ? std::optional(Clock::Text(*time)) : std::nullopt;
}

} // namespace

bool Archive::IsSound() const
{
    const auto& documents = collection.documents;
    return collection.faults.empty() && std::all_of(documents.begin(), documents.end(),
                                                    [](const Document& document) { return document.item.IsSound(); });
}

void SetComparison(View& page, const Archive& archive, const Archive& other)
{
    Differences differences;
    const Facts &now = archive.facts, &before = other.facts;
    differences.Add("Archive", other.collection.name, archive.collection.name);
    differences.Add("Serial number", before.serialNumber, now.serialNumber);
    differences.Add("Software", before.version, now.version);
    differences.Add("Collected", Time(before.collected), Time(now.collected));
    AddItems(differences, archive, other);
    AddFindings(differences, archive, other);
    const bool isOther = before.serialNumber && now.serialNumber && *before.serialNumber != *now.serialNumber;
    auto errors = NewErrors(archive, other);
    page.Set("comparedTitle", std::string("Compared with ") + other.collection.name +
                                  (isOther ? ", an archive of another device" : "") +
                                  (Unread(other.collection, before).empty() ? "" : ", which could not be read in full"))
        .Set("differences", differences.Take())
        .Set("newErrorsTitle", !before.log && !errors.empty() ? "The other archive has no log: every error is new"
                                                              : (errors.empty() ? "No new errors" : "New errors"))
        .Set("newErrors", std::move(errors));
}

} // namespace DfsReport
