#include "Masker.h"

#include "Characters.h"

#include <algorithm>
#include <utility>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kContext = 64;      // bytes: what is kept of the line before a piece, for "\b" and "keep"
constexpr std::size_t kLongestWord = 512; // bytes: a piece ends between two words, unless they are longer
constexpr std::string_view kNetworkName = "ssid";

constexpr bool IsBetweenWords(char c)
{
    return c == ' ' || c == '\t' || c == ',' || c == ';' || c == '"' || c == '\'';
}

constexpr CharacterClass<IsBetweenWords> kBetweenWords;

/** Where the part of an incomplete line ends whose matches are all known. */
std::size_t EndOfKnown(std::string_view line)
{
    const std::size_t end = line.size() - Masker::kOverlap;
    std::size_t blank = end;
    while (end - blank < kLongestWord && !kBetweenWords(line[blank])) {
        --blank;
    }
    return end - blank < kLongestWord ? blank : end;
}

bool HasControls(std::string_view text)
{
    return text.find('\0') != std::string_view::npos || text.find('\x1b') != std::string_view::npos;
}

/** Rules see blanks for a NUL, as it stands between arguments in /proc/PID/cmdline, and for a terminal's colours. */
std::string_view WithoutControls(std::string_view line, std::string& copy)
{
    if (!HasControls(line)) {
        return line;
    }
    copy = line;
    std::replace(copy.begin(), copy.end(), '\0', ' ');
    for (std::size_t at = 0; (at = copy.find("\x1b[", at)) != std::string::npos;) {
        const std::size_t end = std::min(copy.find_first_not_of("0123456789;", at + 2), copy.size() - 1);
        std::fill(copy.begin() + static_cast<std::ptrdiff_t>(at), copy.begin() + static_cast<std::ptrdiff_t>(end) + 1,
                  ' ');
    }
    return copy;
}

} // namespace

Masker::Masker(const MaskKey& key, std::unique_ptr<SecretFinder> finder)
    : m_pseudonyms(key), m_addresses(m_pseudonyms), m_finder(std::move(finder))
{
    m_pending.reserve(kMaxPiece);
}

void Masker::Feed(std::string_view bytes, std::string& out)
{
    m_hasControls =
        (m_hasControls && !m_pending.empty()) || HasControls(bytes); // one look instead of one for each line
    while (!bytes.empty()) {
        const std::size_t newline = bytes.substr(0, kMaxPiece + 1).find('\n');
        if (m_pending.empty() && !m_isDropping && newline != std::string_view::npos) {
            EndLine(bytes.substr(0, newline), out);
            out += '\n';
            bytes.remove_prefix(newline + 1);
            continue;
        }
        const std::size_t count = std::min({newline, bytes.size(), kMaxPiece - m_pending.size()});
        m_pending += bytes.substr(0, count);
        bytes.remove_prefix(count);
        if (bytes.empty()) {
            break;
        }
        if (bytes.front() == '\n') {
            EndLine(m_pending, out);
            out += '\n';
            bytes.remove_prefix(1);
        } else {
            EndPiece(out);
        }
    }
}

void Masker::Finish(std::string& out)
{
    EndLine(m_pending, out);
}

void Masker::EndLine(std::string_view line, std::string& out)
{
    const bool hasReturn = !line.empty() && line.back() == '\r';
    line.remove_suffix(hasReturn ? 1 : 0);
    if (!m_isDropping && m_done < line.size()) {
        if (m_following.IsActive() && m_done == 0) {
            Mask(m_following.Masked(line), 0, true, out);
        } else {
            Mask(line, m_done, true, out);
        }
    }
    if (hasReturn) {
        out += '\r';
    }
    m_pending.clear();
    m_done = 0;
    m_isDropping = false;
}

void Masker::EndPiece(std::string& out)
{
    if (m_done == 0 && !m_isDropping && m_following.IsActive()) { // keys are not printed in lines as long as this
        out += m_following.Mask();
        m_isDropping = true;
    }
    if (!m_isDropping) {
        m_done = Mask(m_pending, m_done, false, out);
    }
    if (m_isDropping) {
        m_pending.clear();
        m_done = 0;
        return;
    }
    const std::size_t context = std::min(m_done, kContext);
    m_pending.erase(0, m_done - context);
    m_done = context;
}

/** Passes on the line from `from`. Returns where the rest begins, for which an incomplete line has to go on. */
std::size_t Masker::Mask(std::string_view line, std::size_t from, bool isComplete, std::string& out)
{
    std::string copy;
    const std::string_view seen = m_hasControls ? WithoutControls(line, copy) : line;
    const std::size_t known = isComplete ? line.size() : EndOfKnown(line);
    FoundSecret found;
    m_finder->Begin(seen, from);
    for (std::size_t at = from; at < line.size() && m_finder->Next(at, found) && found.matchBegin < known;) {
        const bool isOpen = !isComplete && found.matchEnd > known;
        if (isOpen && line.size() - found.matchBegin <= kMaxSecret) {
            m_addresses.Append(line, from, found.matchBegin, out);
            return found.matchBegin;
        }
        if (found.rule->name != kKeep && found.begin < found.end) {
            m_addresses.Append(line, from, found.begin, out);
            Replace(found, line, out);
            from = found.end;
            m_isDropping = isOpen;
        }
        if (m_isDropping) {
            return line.size();
        }
        m_following.Announce(found.rule->name, line.substr(found.matchBegin, found.matchEnd - found.matchBegin));
        at = std::max(found.matchEnd, found.matchBegin + 1);
    }
    const std::size_t end = std::max(known, from);
    m_addresses.Append(line, from, end, out);
    return end;
}

void Masker::Replace(const FoundSecret& found, std::string_view line, std::string& out)
{
    if (found.rule->name == kNetworkName) {
        out += m_pseudonyms.Of(kNetworkName, line.substr(found.begin, found.end - found.begin));
    } else {
        out.append("[masked:").append(found.rule->name).append("]");
    }
}

} // namespace DiagSeal
