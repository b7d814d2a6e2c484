#include "LiteralFilter.h"

#include <algorithm>

namespace DiagSeal
{
namespace
{

/** Whether a byte is found seldom enough to look for it. A blank stands for others. */
bool IsRare(char c)
{
    return c != ' ' && !(c >= '0' && c <= '9') && !(c >= 'a' && c <= 'z');
}

std::size_t Place(std::uint32_t hash)
{
    return (hash ^ hash >> 6) % 512;
}

std::size_t Index(char c)
{
    return static_cast<unsigned char>(c);
}

} // namespace

LiteralFilter::LiteralFilter()
{
    for (std::size_t i = 0; i < m_bytes.size(); ++i) {
        const bool isUpper = i >= 'A' && i <= 'Z';
        const std::size_t folded = isUpper ? i | 0x20 : i;
        const bool isLetter = folded >= 'a' && folded <= 'z';
        const bool isBlank = i == ' ' || (i >= '\t' && i <= '\r');
        m_bytes[i].folded = isBlank ? ' ' : static_cast<char>(folded);
        m_bytes[i].code = static_cast<std::uint8_t>(isLetter ? folded - 'a' : isBlank ? 26 : 27 + i % 5);
    }
    m_first.fill(kNone);
    for (Patterns& patterns : m_without) {
        patterns.set();
    }
}

void LiteralFilter::Add(std::size_t number, const RequiredLists& required)
{
    m_leads.resize(number + 1);
    Lead& lead = m_leads[number];
    std::size_t count = 0;
    for (auto list = required.begin(); list != required.end() && count < kMaxLists; ++list) {
        std::vector<std::uint16_t> literals;
        for (const std::string& text : list->texts) {
            literals.push_back(NumberOf(text));
        }
        if (std::find(literals.begin(), literals.end(), kNone) != literals.end()) {
            continue;
        }
        m_without[count].reset(number);
        for (const std::uint16_t literal : literals) {
            m_literals[literal].lists[count].set(number);
        }
        ++count;
        const bool hasByte = std::any_of(literals.begin(), literals.end(), [this](auto i) { return IsByte(i); });
        if (list == required.begin() && !hasByte && list->before != kUnbounded) {
            for (const std::uint16_t literal : literals) {
                m_literals[literal].begun.set(number, list->before == 0);
            }
            lead = {std::move(literals), list->before, {}};
        } else if (!lead.literals.empty() && list->order > required.front().order) {
            lead.behind.push_back(std::move(literals));
        }
    }
}

/** The literal that stands for the text, or kNone if it cannot be looked for. */
std::uint16_t LiteralFilter::NumberOf(const std::string& text)
{
    const auto number = static_cast<std::uint16_t>(m_literals.size());
    if (number == kNone) {
        return kNone;
    }
    if (text.size() < kHashed) {
        const auto rare = std::find_if(text.begin(), text.end(), IsRare);
        return rare == text.end() ? kNone : NumberOf(*rare);
    }
    const std::uint32_t hash = HashOf(text);
    std::uint16_t& first = m_first[Place(hash)];
    for (std::uint16_t i = first; i != kNone; i = m_literals[i].next) {
        if (m_literals[i].text == text) {
            return i;
        }
    }
    m_hashes[hash / 64] |= std::uint64_t{1} << hash % 64;
    m_literals.push_back({text});
    for (char& c : m_literals.back().text) {
        c = m_bytes[Index(c)].folded;
    }
    m_literals.back().next = first;
    first = number;
    return number;
}

std::uint16_t LiteralFilter::NumberOf(char c)
{
    const auto isSame = [&](std::uint16_t i) { return m_literals[i].text.front() == c; };
    const auto known = std::find_if(m_singles.begin(), m_singles.end(), isSame);
    if (known != m_singles.end()) {
        return *known;
    }
    if (m_singles.size() == kMaxBytes) {
        return kNone;
    }
    const std::uint32_t bit = std::uint32_t{1} << m_singles.size();
    m_bytes[Index(c)].bit = bit;
    m_singles.push_back(static_cast<std::uint16_t>(m_literals.size()));
    m_literals.push_back({std::string(1, c)});
    return m_singles.back();
}

std::uint32_t LiteralFilter::HashOf(std::string_view text) const
{
    std::uint32_t hash = 0;
    for (const char c : text.substr(0, kHashed)) {
        hash = hash << 5 ^ m_bytes[Index(c)].code;
    }
    return hash;
}

void LiteralFilter::Scan(std::string_view text, std::size_t from)
{
    for (const std::uint16_t literal : m_found) {
        m_literals[literal].first = kNowhere;
    }
    m_found.clear();
    m_hits.clear();
    m_text = text;
    std::uint32_t hash = 0;
    std::uint32_t bits = 0;
    for (std::size_t i = from; i < text.size(); ++i) {
        const Byte byte = m_bytes[Index(text[i])];
        hash = (hash << 5 ^ byte.code) % kHashes;
        bits |= byte.bit;
        if ((m_hashes[hash / 64] >> hash % 64 & 1) != 0 && i - from + 1 >= kHashed) {
            Compare(text, i + 1 - kHashed, hash);
        }
    }
    for (std::size_t i = 0; bits != 0; ++i, bits >>= 1) {
        if ((bits & 1) != 0) {
            Literal& literal = m_literals[m_singles[i]];
            literal.first = from;
            literal.last = kNowhere;
            m_found.push_back(m_singles[i]);
        }
    }
}

void LiteralFilter::Compare(std::string_view text, std::size_t at, std::uint32_t hash)
{
    for (std::uint16_t i = m_first[Place(hash)]; i != kNone; i = m_literals[i].next) {
        Literal& literal = m_literals[i];
        const std::size_t size = literal.text.size();
        if (size > text.size() - at) {
            continue;
        }
        std::size_t same = 0;
        while (same < size && m_bytes[Index(text[at + same])].folded == literal.text[same]) {
            ++same;
        }
        if (same < size) {
            continue;
        }
        literal.last = at;
        if (literal.begun.any()) {
            m_hits.push_back({at, i});
        }
        if (literal.first == kNowhere) {
            literal.first = at;
            m_found.push_back(i);
        }
    }
}

LiteralFilter::Patterns LiteralFilter::CanMatch(std::size_t from) const
{
    std::array<Patterns, kMaxLists> lists = m_without;
    for (const std::uint16_t i : m_found) {
        const Literal& literal = m_literals[i];
        for (std::size_t list = 0; list < kMaxLists && literal.last >= from; ++list) {
            lists[list] |= literal.lists[list];
        }
    }
    Patterns patterns;
    patterns.set();
    for (const Patterns& list : lists) {
        patterns &= list;
    }
    return patterns;
}

std::size_t LiteralFilter::FirstPlace(std::size_t number) const
{
    const Lead& lead = m_leads[number];
    if (lead.literals.empty()) {
        return 0;
    }
    std::size_t first = kNowhere;
    for (const std::uint16_t i : lead.literals) {
        first = std::min(first, m_literals[i].first);
    }
    const auto isThere = [this, first](const auto& literals) { return HasOneOf(literals, first); };
    if (!std::all_of(lead.behind.begin(), lead.behind.end(), isThere)) {
        return kNowhere;
    }
    return first - std::min(first, lead.before);
}

std::size_t LiteralFilter::NextPlace(std::size_t number, std::size_t from) const
{
    const auto isBefore = [](const Hit& hit, std::size_t place) { return hit.place < place; };
    const auto next = std::lower_bound(m_hits.begin(), m_hits.end(), from, isBefore);
    const auto begins = [this, number](const Hit& hit) { return m_literals[hit.literal].begun[number]; };
    const auto hit = std::find_if(next, m_hits.end(), begins);
    return hit == m_hits.end() ? kNowhere : hit->place;
}

bool LiteralFilter::HasOneOf(const std::vector<std::uint16_t>& literals, std::size_t from) const
{
    std::uint32_t bits = 0;
    for (const std::uint16_t i : literals) {
        const Literal& literal = m_literals[i];
        if (IsByte(i)) {
            bits |= m_bytes[Index(literal.text.front())].bit;
        } else if (literal.first != kNowhere && literal.last >= from) {
            return true;
        }
    }
    const auto isOne = [this, bits](char c) { return (m_bytes[Index(c)].bit & bits) != 0; };
    return std::any_of(m_text.begin() + static_cast<std::ptrdiff_t>(from), m_text.end(), isOne);
}

} // namespace DiagSeal
