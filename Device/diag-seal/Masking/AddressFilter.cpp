#include "AddressFilter.h"

#include "Characters.h"
#include "MacSpelling.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace DiagSeal
{
namespace
{

// Bytes of "00:1b:21:3c:9d:4e".
constexpr std::size_t kMacSize = 17;
// Bytes of "2a00::".
constexpr std::size_t kShortestRun = 6;
// Of one that is written in full and ends as an IPv4 address does.
constexpr std::ptrdiff_t kColonsOfIpv6 = 6;
// Bytes for which BusyBox's netstat has room.
constexpr std::size_t kCutAddress = 23;

constexpr bool IsOfRun(char c)
{
    return IsHex(c) || c == ':' || c == '.';
}

/** What begins neither an address nor a sequence for a terminal. */
constexpr bool IsBetween(char c)
{
    return !IsWord(c) && c != ':' && c != '\x1b';
}

constexpr CharacterClass<IsOfRun> kRun;
constexpr CharacterClass<IsBetween> kBetween;

/** Whether the word before a dotted number says that it is a version, or ends so: "softwareVersion". */
bool SaysVersion(std::string_view before)
{
    static constexpr std::string_view kWords[] = {"ver", "rev", "build", "fw", "v"};
    static constexpr std::string_view kEnds[] = {"version", "release", "revision", "firmware", "software"};
    constexpr std::size_t kMaxSeparators = 16; // "Version        : "
    constexpr std::size_t kMaxWord = 32;
    const bool isElement = !before.empty() && before.back() == '>'; // "<version>"
    const std::size_t end = isElement ? before.size() - 1 : before.find_last_not_of(" \t=:\"'(\\/") + 1;
    if (before.size() - end > kMaxSeparators) {
        return false;
    }
    std::string word;
    for (std::size_t i = end; i > 0 && IsWord(before[i - 1]) && word.size() < kMaxWord; --i) {
        word.insert(word.begin(), static_cast<char>(before[i - 1] | 0x20));
    }
    const auto endsWord = [&word](std::string_view text) {
        return word.size() >= text.size() && word.compare(word.size() - text.size(), text.size(), text) == 0;
    };
    return std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords) ||
           std::any_of(std::begin(kEnds), std::end(kEnds), endsWord);
}

/** Neither an address that stays in the house nor one that names no host, see the registry of RFC 6890. */
bool IsPublic(const std::array<std::uint8_t, 4>& ip)
{
    const bool isPrivate = ip[0] == 10 || (ip[0] == 172 && (ip[1] & 0xf0) == 16) || (ip[0] == 192 && ip[1] == 168);
    const bool isShared = ip[0] == 100 && (ip[1] & 0xc0) == 64;
    const bool isLocal = ip[0] == 0 || ip[0] == 127 || (ip[0] == 169 && ip[1] == 254);
    return !isPrivate && !isShared && !isLocal && ip[0] < 224;
}

/** An address of the public internet whose end was cut off. It still leads to the household. */
bool IsCutIpv6(std::string_view text)
{
    return text.size() == kCutAddress && (text[0] == '2' || text[0] == '3') && text.find(':') == 4 &&
           std::count(text.begin(), text.end(), ':') >= 4 && text.find('.') == std::string_view::npos;
}

/** Behind the sequence for a terminal (ECMA-48, "ESC [ ... m") at `at`, or `at` if none is there. */
std::size_t EndOfSequence(std::string_view line, std::size_t at)
{
    const std::size_t end =
        line.substr(at, 2) == "\x1b[" ? line.find_first_not_of("0123456789;", at + 2) : std::string_view::npos;
    return end == std::string_view::npos ? at : end + 1;
}

/** Whether a MAC address without colons may begin with this word. The length rules out most words. */
bool MayBeMac(std::string_view line, std::size_t begin, std::size_t end)
{
    constexpr unsigned kSizes = 1U << 2 | 1U << 4 | 1U << 12 | 1U << 15;
    const std::size_t size = end - begin;
    if (size > 15 || (kSizes >> size & 1) == 0) {
        return false;
    }
    const char next = end < line.size() ? line[end] : ' ';
    switch (size) {
        case 2:
            return next == '-' || next == '_' || next == '\\' || next == '%';
        case 4:
            return next == '.';
        case 12:
            return kHex(line[begin]) && kHex(line[end - 1]);
        default:
            return line[begin + 2] == 'x';
    }
}

/** Whether an address may begin with this word, or with the colon that stands in its place. Rules out most words. */
bool MayBeAddress(std::string_view line, std::size_t begin, std::size_t end)
{
    const std::string_view word = line.substr(begin, end - begin);
    const bool goesOn = end < line.size() && (line[end] == ':' || line[end] == '.');
    const auto isHex = [](char c) { return kHex(c); }; // kHex itself is 256 bytes
    return (goesOn && std::all_of(word.begin(), word.end(), isHex)) || MayBeMac(line, begin, end);
}

} // namespace

void AddressFilter::Append(std::string_view line, std::size_t begin, std::size_t end, std::string& out) const
{
    const std::string_view part = line.substr(0, end);
    std::size_t copied = begin;
    std::size_t sequenceEnd = 0;
    std::size_t runEnd = begin;
    Text text;
    for (std::size_t at = begin; at < end;) {
        if (kBetween(line[at])) {
            ++at;
            continue;
        }
        if (line[at] == '\x1b') {
            at = sequenceEnd = std::clamp(EndOfSequence(line, at), at + 1, end);
            continue;
        }
        std::size_t wordEnd = at;
        while (wordEnd < end && kWord(line[wordEnd])) {
            ++wordEnd;
        }
        const bool beginsWord = at == 0 || at == sequenceEnd || !kWord(line[at - 1]);
        if (!beginsWord || !MayBeAddress(part, at, wordEnd)) { // most words
            at = std::max(wordEnd, at + 1);
            continue;
        }
        const std::size_t next = AddressAt(line, end, {at, wordEnd}, runEnd, text);
        if (text) {
            out.append(line, copied, at - copied);
            out += *text;
            copied = next;
            text.reset();
        }
        at = next;
    }
    out.append(line, copied, end - copied);
}

/** Sets `text` if an address begins with the word, and `runEnd` if it is before that. Returns where to look on. */
std::size_t AddressFilter::AddressAt(std::string_view line, std::size_t end, Word word, std::size_t& runEnd,
                                     Text& text) const
{
    const std::size_t begin = word.begin;
    if (MayBeMac(line.substr(0, end), begin, word.end)) {
        if (const std::string_view mac = MacAt(line.substr(0, end), begin); !mac.empty()) {
            const auto macBegin = static_cast<std::size_t>(mac.data() - line.data());
            text = std::string(line.substr(begin, macBegin - begin)) + OfMac(mac);
            return macBegin + mac.size();
        }
    }
    // Once for each run: for each of its words it would take quadratic time.
    runEnd = std::max(runEnd, begin);
    while (runEnd < end && kRun(line[runEnd])) {
        ++runEnd;
    }
    std::size_t addressEnd = runEnd;
    while (addressEnd > begin && !kHex(line[addressEnd - 1]) &&
           (addressEnd - begin < 2 || line.substr(addressEnd - 2, 2) != "::")) {
        --addressEnd;
    }
    const std::size_t size = addressEnd - begin;
    const bool endsWord = runEnd == line.size() || addressEnd < runEnd || !kWord(line[runEnd]);
    if (!endsWord || size < kShortestRun) {
        return std::max(begin + 1, endsWord ? runEnd : word.end);
    }
    text = OfRun(line.substr(0, begin), line.substr(begin, size));
    return addressEnd;
}

/** @param run hex digits, ':' and '.', of which it has at least one */
AddressFilter::Text AddressFilter::OfRun(std::string_view before, std::string_view run) const
{
    const auto colons = std::count(run.begin(), run.end(), ':');
    const auto dots = std::count(run.begin(), run.end(), '.');
    if (colons <= 1 && dots < 3) {
        return std::nullopt;
    }
    if (colons == 0) {
        return dots == 4 ? OfIpv4WithPort(run) : OfIpv4(before, run);
    }
    if (colons == 1) {
        // A port follows, or a word stands before.
        const std::size_t colon = run.find(':');
        if (const Text address = OfIpv4(before, run.substr(0, colon))) {
            return *address + std::string(run.substr(colon));
        }
        const Text address = OfIpv4({}, run.substr(colon + 1));
        return address ? Text(std::string(run.substr(0, colon + 1)) + *address) : std::nullopt;
    }
    if (IsPairs(run)) {
        return run.size() == kMacSize ? OfMac(run) : OfPairs(run);
    }
    if (colons < kColonsOfIpv6 && run.find("::") == std::string_view::npos) {
        return IsCutIpv6(run) ? Text(m_pseudonyms.Of("ip", run)) : std::nullopt;
    }
    if (Text address = OfIpv6(run)) {
        return address;
    }
    // Packet dumps and BusyBox's netstat write a port so.
    const std::size_t port = run.find_last_of(".:");
    if (const Text address = OfIpv6(run.substr(0, port))) {
        return *address + std::string(run.substr(port));
    }
    return IsCutIpv6(run) ? Text(m_pseudonyms.Of("ip", run)) : std::nullopt;
}

AddressFilter::Text AddressFilter::OfPairs(std::string_view pairs) const
{
    if (pairs.size() < kMacSize) { // a time
        return std::nullopt;
    }
    // The middle of an EUI-64 (RFC 4291, appendix A).
    static constexpr std::string_view kMiddle = ":ff:fe:";
    if (pairs.size() == 8 * 3 - 1 && pairs.substr(8, kMiddle.size()) == kMiddle) {
        const std::string mac = OfMac(std::string(pairs.substr(0, 8)).append(pairs.substr(14)));
        return mac.substr(0, 8).append(kMiddle).append(mac.substr(9));
    }
    const MacsInPairs macs = FindMacs(pairs);
    std::string text(pairs);
    for (std::size_t i = 0, at = macs.begin; i < macs.count; ++i, at += kMacSize + 1) {
        text.replace(at, kMacSize, OfMac(pairs.substr(at, kMacSize)));
    }
    return text;
}

/** @param text a MAC address: twelve hex digits, with any separators or none, which stay */
std::string AddressFilter::OfMac(std::string_view text) const
{
    std::array<std::size_t, 12> places{};
    Pseudonyms::Mac mac{};
    bool isUpper = false;
    for (std::size_t at = 0, count = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '%') {
            // "%3A" is a colon.
            at += 2;
        } else if (kHex(c)) {
            mac[count / 2] = static_cast<std::uint8_t>(mac[count / 2] << 4 | HexValue(c));
            places[count++] = at;
            isUpper = isUpper || (c >= 'A' && c <= 'F');
        }
    }
    mac = m_pseudonyms.OfMac(mac);
    const char* digits = isUpper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string name(text);
    for (std::size_t i = places.size() / 2; i < places.size(); ++i) {
        name[places[i]] = digits[mac[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15];
    }
    return name;
}

AddressFilter::Text AddressFilter::OfIpv4(std::string_view before, std::string_view text) const
{
    std::array<char, INET_ADDRSTRLEN> terminated{};
    std::array<std::uint8_t, 4> ip{};
    if (text.size() >= terminated.size()) {
        return std::nullopt;
    }
    text.copy(terminated.data(), text.size());
    if (::inet_pton(AF_INET, terminated.data(), ip.data()) != 1 || !IsPublic(ip) || SaysVersion(before) ||
        (!before.empty() && before.back() == '-')) {
        return std::nullopt;
    }
    return m_pseudonyms.Of("ip", {reinterpret_cast<const char*>(ip.data()), ip.size()});
}

/** @param text five numbers, as packet dumps write it: "81.2.69.142.443". A port up to 255 is not taken for one. */
AddressFilter::Text AddressFilter::OfIpv4WithPort(std::string_view text) const
{
    const std::size_t dot = text.rfind('.');
    const std::string_view port = text.substr(dot);
    const bool isPort = port.size() > 4 || (port.size() == 4 && port > ".255");
    const Text address = isPort ? OfIpv4({}, text.substr(0, dot)) : std::nullopt;
    return address ? Text(*address + std::string(port)) : std::nullopt;
}

AddressFilter::Text AddressFilter::OfIpv6(std::string_view text) const
{
    static constexpr std::array<std::uint8_t, 12> kMapped{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
    // The prefix of RFC 6052.
    static constexpr std::array<std::uint8_t, 4> kTranslated{0, 0x64, 0xff, 0x9b};
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    std::array<std::uint8_t, 16> ip{};
    if (text.size() >= terminated.size()) {
        return std::nullopt;
    }
    text.copy(terminated.data(), text.size());
    if (::inet_pton(AF_INET6, terminated.data(), ip.data()) != 1) {
        return std::nullopt;
    }
    const bool isMapped = std::equal(kMapped.begin(), kMapped.end(), ip.begin());
    const bool hasPublicTail = isMapped && IsPublic({ip[12], ip[13], ip[14], ip[15]});
    const bool isTranslated = std::equal(kTranslated.begin(), kTranslated.end(), ip.begin());
    // 2000::/3, RFC 4291.
    const bool isGlobal = (ip[0] & 0xe0) == 0x20;
    if (hasPublicTail || isTranslated || isGlobal) {
        return m_pseudonyms.Of("ip", {reinterpret_cast<const char*>(ip.data()), ip.size()});
    }
    const bool isUnicast = (ip[0] == 0xfe && (ip[1] & 0xc0) == 0x80) || (ip[0] & 0xfe) == 0xfc;
    if (!isUnicast || ip[11] != 0xff || ip[12] != 0xfe) {
        return std::nullopt;
    }
    const auto flipped = static_cast<std::uint8_t>(ip[8] ^ 2);
    const Pseudonyms::Mac mac = m_pseudonyms.OfMac({flipped, ip[9], ip[10], ip[13], ip[14], ip[15]});
    std::copy(mac.begin() + 3, mac.end(), ip.begin() + 13);
    return std::string(::inet_ntop(AF_INET6, ip.data(), terminated.data(), terminated.size()));
}

} // namespace DiagSeal
