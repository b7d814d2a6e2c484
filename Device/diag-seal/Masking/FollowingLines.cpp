#include "FollowingLines.h"

#include "Characters.h"

#include <re2/re2.h>

#include <algorithm>

namespace DiagSeal
{
namespace
{

// An RSA key of 16384 bits has 200 lines.
constexpr int kMaxKeyLines = 400;
// The title of a dump may tell a wrong length.
constexpr int kMaxDumpLines = 64;
// Other programs' lines stand between those of a dump.
constexpr int kLinesForEachDumped = 4;
constexpr std::size_t kShortestRun = 16;
constexpr std::string_view kKeyBegin = "-----BEGIN "; // the shorter one of the two that begin a block
constexpr std::string_view kKeyEnd = "-----END";

constexpr bool IsOfKey(char c)
{
    return IsWord(c) || c == '+' || c == '/' || c == '=';
}

constexpr CharacterClass<IsOfKey> kBase64;

constexpr bool IsBehindQuoted(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '"' || c == '\'' || c == ',' || c == ';' || c == '\\' || c == 'n';
}

/** Whether nothing but the end of a quoted text follows. */
bool EndsLine(std::string_view rest)
{
    return std::all_of(rest.begin(), rest.end(), IsBehindQuoted);
}

} // namespace

FollowingLines::FollowingLines() = default;
FollowingLines::~FollowingLines() = default;

void FollowingLines::Announce(std::string_view name, std::string_view text)
{
    if (text.size() < kKeyBegin.size()) { // most names
        return;
    }
    if (text.find(kKeyBegin) != std::string_view::npos) {
        m_isKey = true;
        m_linesLeft = text.find(kKeyEnd) == std::string_view::npos ? kMaxKeyLines : 0;
    } else if (const std::size_t dump = text.find("hexdump_ascii(len="); dump != std::string_view::npos) {
        static const RE2 kLength(R"(len=(\d{1,4})\):\s*$)");
        int length = 0;
        if (!RE2::PartialMatch({text.data(), text.size()}, kLength, &length)) {
            return;
        }
        m_isKey = false;
        m_linesLeft = std::min((length + 15) / 16 * kLinesForEachDumped, kMaxDumpLines);
    } else {
        return;
    }
    m_mask = "[masked:" + std::string(name) + "]";
}

std::string FollowingLines::Masked(std::string_view line)
{
    --m_linesLeft;
    return m_isKey ? MaskedKeyLine(line) : MaskedDumpLine(line);
}

std::string FollowingLines::MaskedKeyLine(std::string_view line)
{
    const std::size_t end = line.find(kKeyEnd);
    if (end != std::string_view::npos) {
        m_linesLeft = 0;
    }
    const std::string_view body = line.substr(0, end);
    std::string masked;
    std::size_t copied = 0;
    for (std::size_t at = 0; at < body.size();) {
        std::size_t runEnd = at;
        while (runEnd < body.size() && kBase64(body[runEnd])) {
            ++runEnd;
        }
        if (runEnd - at >= kShortestRun || (runEnd > at && EndsLine(body.substr(runEnd)))) {
            masked.append(line, copied, at - copied).append(m_mask);
            copied = runEnd;
        }
        at = runEnd + 1;
    }
    return masked.append(line, copied);
}

std::string FollowingLines::MaskedDumpLine(std::string_view line)
{
    if (!m_dumpLine) {
        m_dumpLine = std::make_unique<RE2>("(?:^|[ \\t]) {3,4} [0-9a-f]{2}(?: |$)", RE2::Latin1);
    }
    re2::StringPiece dump; // without groups, which take RE2 ten times as long
    if (!m_dumpLine->Match({line.data(), line.size()}, 0, line.size(), RE2::UNANCHORED, &dump, 1)) {
        return std::string(line);
    }
    const auto begin = static_cast<std::size_t>(dump.data() - line.data());
    return std::string(line.substr(0, line.find_first_not_of(" \t", begin))) + m_mask;
}

} // namespace DiagSeal
