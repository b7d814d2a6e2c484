#include "Lines.h"
#include "Readers.h"

#include <algorithm>

namespace DfsReport
{

namespace
{

// The interface of that name; one more if there is room.
Interface* Find(Facts& facts, std::string_view name, const Place& place)
{
    // "wlan0@if3", the other end of which is elsewhere.
    name = name.substr(0, name.find('@'));
    const auto found = std::find_if(facts.interfaces.begin(), facts.interfaces.end(),
                                    [name](const Interface& other) { return other.name == name; });
    if (found != facts.interfaces.end()) {
        return &*found;
    }
    if (facts.interfaces.size() >= kMostEntries) {
        return nullptr;
    }
    facts.interfaces.emplace_back();
    facts.interfaces.back().name = name;
    facts.interfaces.back().place = place;
    return &facts.interfaces.back();
}

// The flags of `ip address`, such as "<BROADCAST,UP,LOWER_UP>", or of `ifconfig -a`, a line of words.
bool ReadFlags(std::string_view line, Interface& found)
{
    const std::size_t begin = line.find('<');
    const std::size_t end = line.find('>');
    if (begin != std::string_view::npos && end != std::string_view::npos && begin < end) {
        const std::string flags = ',' + std::string(line.substr(begin + 1, end - begin - 1)) + ',';
        found.isUp = Contains(flags, ",UP,");
        found.hasCarrier = Contains(flags, ",LOWER_UP,") || Contains(flags, ",RUNNING,");
        return true;
    }
    const auto words = Words(line);
    const auto has = [&words](std::string_view word) {
        return std::find(words.begin(), words.end(), word) != words.end();
    };
    if (Contains(line, " MTU:")) {
        found.isUp = has("UP");
        found.hasCarrier = has("RUNNING");
        return true;
    }
    return false;
}

} // namespace

bool ReadTraffic(const Section& section, Facts& facts)
{
    constexpr std::size_t kCounters = 16;
    bool isRead = false;
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const std::size_t colon = line.text.find(':');
        const auto names = Words(line.text.substr(0, colon), 2);
        const auto words =
            Words(colon == std::string_view::npos ? std::string_view() : line.text.substr(colon + 1), kCounters);
        isRead = isRead || Contains(line.text, "Receive");
        if (names.size() != 1 || words.size() != kCounters) {
            continue;
        }
        if (Interface* found = Find(facts, names[0], {section.document, line.number})) {
            found->place = {section.document, line.number};
            found->received = Whole(words[1]);
            found->receiveErrors = Whole(words[2]).value_or(0);
            found->receiveDrops = Whole(words[3]).value_or(0);
            found->sent = Whole(words[9]);
            found->sendErrors = Whole(words[10]).value_or(0);
            found->sendDrops = Whole(words[11]).value_or(0);
        }
    }
    return isRead;
}

bool ReadAddresses(const Section& section, Facts& facts)
{
    bool isRead = false;
    Interface* current = nullptr;
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text);
        if (words.empty()) {
            continue;
        }
        if (line.text[0] != ' ' && line.text[0] != '\t') {
            // "2: wlan0: <...>" of ip(8), "wlan0     Link encap:..." or "wlan0: flags=..." of ifconfig(8).
            const bool isNumbered =
                words.size() > 1 && words[0].back() == ':' && Whole(words[0].substr(0, words[0].size() - 1));
            std::string_view name = isNumbered ? words[1] : words[0];
            if (name.back() == ':') {
                name.remove_suffix(1);
            }
            const bool isTitle = isNumbered || Contains(line.text, "Link encap") || Contains(line.text, "flags=");
            current = isTitle ? Find(facts, name, {section.document, line.number}) : nullptr;
            isRead = isRead || isTitle;
        }
        if (current != nullptr) {
            ReadFlags(line.text, *current);
            if ((words[0] == "inet" || words[0] == "inet6") && words.size() > 1 &&
                current->addresses.size() < kMostEntries) {
                std::string_view address = words[1] == "addr:" && words.size() > 2 ? words[2] : words[1];
                address.remove_prefix(StartsWith(address, "addr:") ? 5 : 0);
                current->addresses.emplace_back(address);
            }
        }
    }
    return isRead;
}

bool ReadRoutes(const Section& section, Facts& facts)
{
    if (section.title == "routes") {
        facts.hasDefaultRoute = facts.hasDefaultRoute.value_or(false);
        facts.routePlace = {section.document, section.firstLine - 1};
    }
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text);
        if (words.size() > 2 && (words[0] == "default" || words[0] == "0.0.0.0" || words[0] == "::/0") &&
            words.back() != "lo") {
            facts.hasDefaultRoute = true;
        }
    }
    // A device without routes prints nothing.
    return true;
}

bool ReadNameServers(const Section& section, Facts& facts)
{
    std::size_t count = 0;
    Lines lines(section.body, section.firstLine);
    for (Line line; lines.Next(line);) {
        const auto words = Words(line.text, 2);
        count += words.size() == 2 && words[0] == "nameserver" ? 1 : 0;
    }
    facts.nameServers = count;
    return true;
}

} // namespace DfsReport
