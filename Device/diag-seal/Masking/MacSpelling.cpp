#include "MacSpelling.h"

#include "Characters.h"

#include <algorithm>
#include <array>
#include <string>

namespace DiagSeal
{
namespace
{

// Bytes of "00:1b:21:3c:9d:4e".
constexpr std::size_t kMacSize = 17;
// Bytes of "001b213c9d4e".
constexpr std::size_t kBareSize = 12;
// Bytes of "wlx" in "wlx001b213c9d4e".
constexpr std::size_t kNamePrefix = 3;
// Bytes of "001b.213c.9d4e".
constexpr std::size_t kDottedSize = 14;

bool IsAllHex(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return kHex(c); });
}

bool StartsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/** "26-11-21-19-48-05": six numbers that are a date and a time. */
bool IsDateTime(std::string_view text)
{
    static constexpr std::array<int, 6> kLimits{99, 12, 31, 23, 59, 59};
    for (std::size_t i = 0; i < kLimits.size(); ++i) {
        if (!IsDigit(text[3 * i]) || !IsDigit(text[3 * i + 1]) ||
            HexValue(text[3 * i]) * 10 + HexValue(text[3 * i + 1]) > kLimits[i]) {
            return false;
        }
    }
    return true;
}

/** Whether the bytes before `at` are a group of two hex digits and the separator: then `at` begins no MAC address. */
bool IsWithinChain(std::string_view line, std::size_t at, char separator)
{
    return at >= 3 && line[at - 1] == separator && kHex(line[at - 2]) && kHex(line[at - 3]) &&
           (at == 3 || !kWord(line[at - 4]));
}

/** @param separator that stands at `at` + 2 */
std::string_view SeparatedMac(std::string_view line, std::size_t at, std::string_view separator)
{
    const std::size_t step = 2 + separator.size();
    const std::string_view text = line.substr(at, 6 * step - separator.size());
    for (std::size_t i = 0; i < 6; ++i) {
        if (text.size() < step * i + 2 || !IsAllHex(text.substr(step * i, 2)) ||
            (i < 5 && text.substr(step * i + 2, separator.size()) != separator)) {
            return {};
        }
    }
    const std::string_view rest = line.substr(at + text.size());
    const bool goesOn = StartsWith(rest, separator) && rest.size() > separator.size() && kHex(rest[separator.size()]);
    if ((!rest.empty() && kWord(rest.front())) || (goesOn && separator.size() == 1)) {
        return {};
    }
    // Of a separator of several bytes, neither can be true.
    const bool isOther = IsWithinChain(line, at, separator.front()) || IsDateTime(text);
    return isOther ? std::string_view() : text;
}

/** Whether the words before twelve hex digits say that these are a MAC address, as in "wifi_", "mac=" or "HWaddr ". */
bool SaysMac(std::string_view before)
{
    static constexpr std::string_view kNames[] = {"mac",    "macaddr",   "macaddress", "bssid",    "bdaddr",
                                                  "hwaddr", "hwaddress", "wifi",       "ethernet", "bluetooth"};
    std::string name;
    for (std::size_t i = before.size(); i > 0 && before.size() - i < 20; --i) {
        const char c = before[i - 1];
        if (kWord(c)) {
            name.insert(name.begin(), static_cast<char>(c | 0x20));
        } else if (std::string_view(" _-=:\"'\\[(").find(c) == std::string_view::npos) {
            break;
        }
    }
    return std::any_of(std::begin(kNames), std::end(kNames), [&](std::string_view known) {
        return name.size() >= known.size() && name.compare(name.size() - known.size(), known.size(), known) == 0;
    });
}

} // namespace

std::string_view MacAt(std::string_view line, std::size_t at)
{
    std::size_t wordEnd = at;
    while (wordEnd < line.size() && kWord(line[wordEnd])) {
        ++wordEnd;
    }
    const std::string_view word = line.substr(at, wordEnd - at);
    const std::string_view rest = line.substr(wordEnd);
    if (word.size() == 2 && !rest.empty()) {
        for (const std::string_view separator : {"-", "_", "\\:", "%3A", "%3a"}) {
            if (StartsWith(rest, separator)) {
                return SeparatedMac(line, at, separator);
            }
        }
    } else if (word.size() == kNamePrefix + kBareSize && (StartsWith(word, "wlx") || StartsWith(word, "enx"))) {
        return IsAllHex(word.substr(kNamePrefix)) ? word.substr(kNamePrefix) : std::string_view();
    } else if (word.size() == kBareSize && IsAllHex(word)) {
        // A loudspeaker announces its service as "001B213C9D4E@Kitchen"; "\064" is DNS's escape of the "@".
        return SaysMac(line.substr(0, at)) || StartsWith(rest, "@") || StartsWith(rest, "\\064") ? word
                                                                                                 : std::string_view();
    } else if (word.size() == 4 && StartsWith(rest, ".")) {
        const std::string_view text = line.substr(at, kDottedSize);
        const bool endsThere =
            at + kDottedSize >= line.size() || (!kWord(line[at + kDottedSize]) && line[at + kDottedSize] != '.');
        const bool isMac = text.size() == kDottedSize && text[9] == '.' && endsThere && IsAllHex(word) &&
                           IsAllHex(text.substr(5, 4)) && IsAllHex(text.substr(10)) &&
                           std::any_of(text.begin(), text.end(), IsHexLetter);
        return isMac ? text : std::string_view();
    }
    return {};
}

bool IsPairs(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i % 3 == 2 ? text[i] != ':' : !kHex(text[i])) {
            return false;
        }
    }
    return text.size() % 3 == 2;
}

MacsInPairs FindMacs(std::string_view pairs)
{
    const auto endsWith = [&](std::string_view end) {
        return pairs.size() >= end.size() && pairs.substr(pairs.size() - end.size()) == end;
    };
    if (pairs.size() == 14 * 3 - 1 && (endsWith(":08:00") || endsWith(":86:dd") || endsWith(":08:06"))) {
        return {0, 2};
    }
    for (const std::string_view before : {"01:", "00:03:00:01:", "00:01:00:01:00:00:00:00:"}) {
        const std::size_t size = before.size() + kMacSize;
        const std::size_t begin = pairs.size() - std::min(size, pairs.size());
        const bool isIdentifier = before.size() == 3 ? begin == 0 : begin == 0 || StartsWith(pairs, "ff:");
        // In the longest one, a time follows.
        const std::size_t known = std::min<std::size_t>(before.size(), 12);
        if (pairs.size() >= size && isIdentifier && pairs.substr(begin, known) == before.substr(0, known)) {
            return {pairs.size() - kMacSize, 1};
        }
    }
    return {};
}

} // namespace DiagSeal
