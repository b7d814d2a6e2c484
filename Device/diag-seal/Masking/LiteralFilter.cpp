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
        std::vector<Wanted> texts;
        for (const RequiredText& text : list->texts) {
            texts.push_back(WantedOf(text));
        }
        if (std::any_of(texts.begin(), texts.end(), [](const Wanted& text) { return text.literal == kNone; })) {
            continue;
        }
        m_without[count].reset(number);
        for (const Wanted& text : texts) {
            m_literals[text.literal].lists[count].set(number);
        }
        ++count;
        const bool hasByte =
            std::any_of(texts.begin(), texts.end(), [this](const Wanted& text) { return IsByte(text.literal); });
        if (list == required.begin() && !hasByte) {
            for (const Wanted& text : texts) {
                m_literals[text.literal].led.set(number);
            }
            for (const Wanted& text : texts) {
                lead.before = std::max(lead.before, text.before);
                lead.isExact = (lead.isExact || lead.texts.empty()) && text.isFixed;
                lead.texts.push_back(text);
            }
        } else if (!lead.texts.empty() && list->order > required.front().order) {
            lead.behind.push_back(std::move(texts));
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

LiteralFilter::Wanted LiteralFilter::WantedOf(const RequiredText& text)
{
    const auto isSame = [&text](const Around& known) {
        return known.previous == text.previous && known.prefix == text.prefix && known.next == text.next;
    };
    if (m_around.empty() || !isSame(m_around.back())) { // as a rule, it is the same for all of a list
        m_around.push_back({text.previous, text.prefix, text.next});
    }
    return {NumberOf(text.text), static_cast<std::uint16_t>(m_around.size() - 1), text.isFixed,
            BoundedSum(text.before, text.prefix.any() && !text.isFixed ? 1 : 0)};
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
        if (size > text.size() - at || m_bytes[Index(text[at + size - 1])].folded != literal.text.back()) {
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
        m_hits.push_back({at, i});
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

std::size_t LiteralFilter::NextPlace(std::size_t number, std::size_t from)
{
    const Lead& lead = m_leads[number];
    if (lead.texts.empty()) {
        return from;
    }
    std::size_t first = kNowhere;
    // A text that is found behind another one may tell a place before that one's.
    const auto isNear = [&](const Hit& hit) {
        return first == kNowhere || hit.place <= BoundedSum(first, lead.before);
    };
    for (auto hit = HitsFrom(from); hit != m_hits.cend() && isNear(*hit); ++hit) {
        if (m_literals[hit->literal].led[number]) {
            first = std::min(first, BeginOf(lead, *hit, from));
        }
    }
    const auto isThere = [&](const auto& list) { return HasOneOf(list, first); };
    return first != kNowhere && std::all_of(lead.behind.begin(), lead.behind.end(), isThere) ? first : kNowhere;
}

std::vector<LiteralFilter::Hit>::const_iterator LiteralFilter::HitsFrom(std::size_t from) const
{
    const auto isBefore = [](const Hit& hit, std::size_t place) { return hit.place < place; };
    return std::lower_bound(m_hits.begin(), m_hits.end(), from, isBefore);
}

/** The first place from `from` on at which a match can begin that holds this literal, or kNowhere. */
std::size_t LiteralFilter::BeginOf(const Lead& lead, const Hit& hit, std::size_t from)
{
    std::size_t first = kNowhere;
    for (const Wanted& text : lead.texts) {
        if (text.literal != hit.literal || !IsAt(hit.place, text)) {
            continue;
        }
        const std::size_t space = hit.place - from;
        if (!text.isFixed) {
            first = std::min(first, hit.place - std::min(space, text.before));
        } else if (text.before <= space) {
            const bool takesPrefix = text.before < space && m_around[text.around].prefix[Index(m_text[hit.place - 1])];
            first = std::min(first, hit.place - text.before - (takesPrefix ? 1 : 0));
        }
    }
    return first;
}

/** Of a literal that stands at this place: whether what is around it is as it is wanted. */
bool LiteralFilter::IsAt(std::size_t place, const Wanted& wanted)
{
    Around& around = m_around[wanted.around];
    if (place > 0 && !around.previous[Index(m_text[place - 1])]) {
        return false;
    }
    if (!around.table) {
        around.table = std::make_unique<ContinuationTable>(around.next);
    }
    return around.table->Allows(m_text.substr(place + m_literals[wanted.literal].text.size()));
}

bool LiteralFilter::HasOneOf(const std::vector<Wanted>& list, std::size_t from)
{
    std::uint32_t bits = 0;
    for (const Wanted& wanted : list) {
        const Literal& literal = m_literals[wanted.literal];
        if (IsByte(wanted.literal)) {
            bits |= m_bytes[Index(literal.text.front())].bit;
        } else if (literal.first != kNowhere && literal.last >= from) {
            const auto isIt = [&](const Hit& hit) { return hit.literal == wanted.literal && IsAt(hit.place, wanted); };
            if (std::any_of(HitsFrom(from), m_hits.cend(), isIt)) {
                return true;
            }
        }
    }
    const auto isOne = [this, bits](char c) { return (m_bytes[Index(c)].bit & bits) != 0; };
    return bits != 0 && std::any_of(m_text.begin() + static_cast<std::ptrdiff_t>(from), m_text.end(), isOne);
}

} // namespace DiagSeal
