#include "AddressFilter.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kMacSize = 17;        // "00:1b:21:3c:9d:4e"
constexpr std::size_t kNamedMacSize = 15;   // "wlx001b213c9d4e"
constexpr std::size_t kShortestRun = 6;     // "2a00::"
constexpr std::size_t kLongestRun = 45 + 7; // an IPv6 address with an IPv4 tail; ':' or '.' and a port behind it

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr bool IsHexLetter(char c)
{
    return (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

constexpr bool IsHex(char c)
{
    return IsDigit(c) || IsHexLetter(c);
}

constexpr bool IsWord(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool IsOfRun(char c)
{
    return IsHex(c) || c == ':' || c == '.';
}

/** A table, as every byte of a log passes here. */
template <bool (*Predicate)(char)>
struct Class
{
    std::array<bool, 256> members{};

    constexpr Class()
    {
        for (int c = 0; c < 256; ++c) {
            members[static_cast<std::size_t>(c)] = Predicate(static_cast<char>(c));
        }
    }

    constexpr bool operator()(char c) const { return members[static_cast<unsigned char>(c)]; }
};

constexpr Class<IsWord> kWord;
constexpr Class<IsHex> kHex;
constexpr Class<IsOfRun> kRun;

constexpr int HexValue(char c)
{
    return IsDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10;
}

std::uint8_t Byte(std::string_view text, std::size_t at)
{
    return static_cast<std::uint8_t>(HexValue(text[at]) << 4 | HexValue(text[at + 1]));
}

bool IsMac(std::string_view text, char separator)
{
    if (text.size() != kMacSize) {
        return false;
    }
    for (std::size_t i = 0; i < kMacSize; ++i) {
        if (i % 3 == 2 ? text[i] != separator : !kHex(text[i])) {
            return false;
        }
    }
    return true;
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

/** The MAC address in an interface's name, "wlx001b213c9d4e", or nothing. */
std::string_view MacOfName(std::string_view line, std::size_t at)
{
    const std::string_view name = line.substr(at, kNamedMacSize);
    const bool isName = name.size() == kNamedMacSize && (name.substr(0, 3) == "wlx" || name.substr(0, 3) == "enx") &&
                        std::all_of(name.begin() + 3, name.end(), [](char c) { return kHex(c); }) &&
                        (at + kNamedMacSize == line.size() || !kWord(line[at + kNamedMacSize]));
    return isName ? name.substr(3) : std::string_view();
}

/** A MAC address with '-' or '_' between its bytes, or nothing. */
std::string_view DashedMac(std::string_view line, std::size_t at)
{
    if (line.size() - at < kMacSize || (line[at + 2] != '-' && line[at + 2] != '_')) {
        return {};
    }
    const char separator = line[at + 2];
    const std::string_view text = line.substr(at, kMacSize);
    const std::size_t end = at + kMacSize;
    const bool endsThere = end == line.size() || (!kWord(line[end]) && line[end] != separator) ||
                           (line[end] == separator && (end + 1 == line.size() || !kHex(line[end + 1])));
    return endsThere && IsMac(text, separator) && !IsWithinChain(line, at, separator) && !IsDateTime(text)
               ? text
               : std::string_view();
}

/** Whether the words before a dotted number say that it is a version. */
bool SaysVersion(std::string_view before)
{
    static constexpr std::string_view kWords[] = {"version", "ver",      "release", "revision", "rev",
                                                  "build",   "firmware", "fw",      "software", "v"};
    const std::size_t end = before.find_last_not_of(" =:\"'(");
    if (end == std::string_view::npos || before.size() - end > 4) {
        return false;
    }
    std::string word;
    for (std::size_t i = end + 1; i > 0 && IsWord(before[i - 1]) && word.size() < 10; --i) {
        word.insert(word.begin(), static_cast<char>(before[i - 1] | 0x20));
    }
    return std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords);
}

/** Of the registry of special-purpose addresses (RFC 6890), what stays in the house, and what is no host. */
bool IsPublic(const std::array<std::uint8_t, 4>& ip)
{
    const bool isPrivate = ip[0] == 10 || (ip[0] == 172 && (ip[1] & 0xf0) == 16) || (ip[0] == 192 && ip[1] == 168);
    const bool isShared = ip[0] == 100 && (ip[1] & 0xc0) == 64;
    const bool isLocal = ip[0] == 0 || ip[0] == 127 || (ip[0] == 169 && ip[1] == 254);
    return !isPrivate && !isShared && !isLocal && ip[0] < 224;
}

} // namespace

void AddressFilter::Append(std::string_view line, std::size_t begin, std::size_t end, std::string& out) const
{
    std::size_t copied = begin;
    Text text;
    for (std::size_t at = begin; at < end;) {
        if (!kWord(line[at]) && line[at] != ':') {
            ++at;
            continue;
        }
        const std::size_t next = AddressAt(line, at, end, text);
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

/** Sets `text` if an address begins at `begin`. Returns where to look on. */
std::size_t AddressFilter::AddressAt(std::string_view line, std::size_t begin, std::size_t end, Text& text) const
{
    const bool beginsWord = begin == 0 || !kWord(line[begin - 1]);
    std::size_t runEnd = begin;
    while (runEnd < end && kRun(line[runEnd])) {
        ++runEnd;
    }
    std::size_t wordEnd = begin;
    while (wordEnd < end && kWord(line[wordEnd])) {
        ++wordEnd;
    }
    if (!beginsWord) {
        return std::max(wordEnd, begin + 1);
    }
    if (wordEnd - begin == kNamedMacSize) {
        if (const std::string_view mac = MacOfName(line, begin); !mac.empty()) {
            text = std::string(line.substr(begin, 3)) + OfMac(mac).value_or(std::string(mac));
            return wordEnd;
        }
    }
    if (wordEnd - begin == 2 && runEnd == wordEnd) {
        if (const std::string_view mac = DashedMac(line.substr(0, end), begin); !mac.empty()) {
            text = OfMac(mac);
            return begin + kMacSize;
        }
    }
    std::size_t addressEnd = runEnd;
    while (addressEnd > begin && !kHex(line[addressEnd - 1]) &&
           (addressEnd - begin < 2 || line.substr(addressEnd - 2, 2) != "::")) {
        --addressEnd;
    }
    const std::size_t size = addressEnd - begin;
    if (size > kLongestRun) {
        return runEnd;
    }
    const bool endsWord = runEnd == line.size() || addressEnd < runEnd || !kWord(line[runEnd]);
    if (!endsWord || size < kShortestRun) {
        return std::max(begin + 1, endsWord ? runEnd : wordEnd);
    }
    text = OfRun(line.substr(0, begin), line.substr(begin, size));
    return text ? addressEnd : runEnd;
}

/** @param run hex digits, ':' and '.', of which it has at least one */
AddressFilter::Text AddressFilter::OfRun(std::string_view before, std::string_view run) const
{
    const auto colons = std::count(run.begin(), run.end(), ':');
    if (colons == 0) {
        return std::count(run.begin(), run.end(), '.') == 4 ? OfIpv4WithPort(run) : OfIpv4(before, run);
    }
    if (colons == 1) { // a port behind, or a word before
        const std::size_t colon = run.find(':');
        if (const Text address = OfIpv4(before, run.substr(0, colon))) {
            return *address + std::string(run.substr(colon));
        }
        const Text address = OfIpv4({}, run.substr(colon + 1));
        return address ? Text(std::string(run.substr(0, colon + 1)) + *address) : std::nullopt;
    }
    if (IsMac(run, ':')) {
        return OfMac(run);
    }
    if (run.substr(0, 3) == "01:" && IsMac(run.substr(3), ':')) { // a DHCP client identifier
        return "01:" + OfMac(run.substr(3)).value_or(std::string(run.substr(3)));
    }
    if (Text address = OfIpv6(run)) {
        return address;
    }
    const std::size_t dot = run.rfind('.'); // a port, as packet dumps have it
    const Text address = dot == std::string_view::npos ? std::nullopt : OfIpv6(run.substr(0, dot));
    return address ? Text(*address + std::string(run.substr(dot))) : std::nullopt;
}

/** @param text a MAC address, with any separators or none, which stay */
AddressFilter::Text AddressFilter::OfMac(std::string_view text) const
{
    static constexpr char kLower[] = "0123456789abcdef";
    static constexpr char kUpper[] = "0123456789ABCDEF";
    const std::size_t step = text.size() == kMacSize ? 3 : 2;
    Pseudonyms::Mac mac{};
    for (std::size_t i = 0; i < mac.size(); ++i) {
        mac[i] = Byte(text, step * i);
    }
    mac = m_pseudonyms.OfMac(mac);
    const bool isUpper = std::any_of(text.begin(), text.end(), [](char c) { return c >= 'A' && c <= 'F'; });
    const char* digits = isUpper ? kUpper : kLower;
    std::string name(text);
    for (std::size_t i = 3; i < mac.size(); ++i) {
        name[step * i] = digits[mac[i] >> 4];
        name[step * i + 1] = digits[mac[i] & 15];
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

/** @param text "81.2.69.142.443", as packet dumps have it. A last number that fits into an address makes it something
 * else. */
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
    static constexpr std::array<std::uint8_t, 4> kTranslated{0, 0x64, 0xff, 0x9b}; // RFC 6052
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
    const bool isGlobal = (ip[0] & 0xe0) == 0x20; // 2000::/3, RFC 4291
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
