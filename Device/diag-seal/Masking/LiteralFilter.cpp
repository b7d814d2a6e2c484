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
    return (hash ^ hash >> 4) % 2048;
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
        m_folded[i] = isBlank ? ' ' : static_cast<char>(folded);
        m_bytes[i].code = static_cast<std::uint32_t>(isLetter ? folded - 'a' : isBlank ? 26 : 27 + i % 5);
    }
    m_first.fill(kNone);
    for (Patterns& patterns : m_without) {
        patterns.set();
    }
}

void LiteralFilter::Add(std::size_t number, const RequiredLists& required)
{
    m_leads.resize(number + 1);
    m_unled.set(number);
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
            m_unled.reset(number);
            lead.hasTexts = lead.isExact = true;
            for (const Wanted& text : texts) {
                lead.before = std::max(lead.before, text.before);
                lead.isExact = lead.isExact && text.isFixed;
                const Around& around = m_around[text.around];
                m_literals[text.literal].leads.push_back(
                    {static_cast<std::uint16_t>(number), around.previousKinds, around.nextKinds, text});
            }
        } else if (lead.hasTexts && list->order > required.front().order) {
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
    for (std::uint16_t i = first; i != kNone; i = m_keys[i].next) {
        if (m_literals[i].text == text) {
            return i;
        }
    }
    m_hashes[hash / 64] |= std::uint64_t{1} << hash % 64;
    m_literals.push_back({text});
    std::string& folded = m_literals.back().text;
    std::transform(folded.begin(), folded.end(), folded.begin(), [this](char c) { return Folded(c); });
    m_keys.push_back({static_cast<std::uint16_t>(hash), first, static_cast<std::uint16_t>(text.size()), folded.back()});
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
    m_keys.emplace_back();
    return m_singles.back();
}

LiteralFilter::Wanted LiteralFilter::WantedOf(const RequiredText& text)
{
    const auto isSame = [&text](const Around& known) {
        return known.previous == text.previous && known.prefix == text.prefix && known.next == text.next;
    };
    if (m_around.empty() || !isSame(m_around.back())) { // as a rule, it is the same for all of a list
        m_around.push_back(
            {text.previous, text.prefix, text.next, m_kinds.Of(text.previous), m_kinds.Of(text.next.First())});
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

LiteralFilter::Patterns LiteralFilter::Scan(std::string_view text, std::size_t from)
{
    for (const std::uint16_t literal : m_found) {
        m_literals[literal].first = kNowhere;
    }
    m_found.clear();
    m_hits.clear();
    m_text = text;
    std::uint32_t bits = FindLiterals(from);
    for (; bits != 0; bits &= bits - 1) {
        const std::uint16_t number = m_singles[static_cast<std::size_t>(__builtin_ctz(bits))];
        m_literals[number].first = from;
        m_literals[number].last = kNowhere;
        m_found.push_back(number);
    }
    const Patterns patterns = CanMatch(from);
    m_from = from;
    return patterns.none() ? patterns : patterns & (m_unled | FindLeading(patterns));
}

/** Finds the literals. Returns the bytes that are looked for, a bit each. */
std::uint32_t LiteralFilter::FindLiterals(std::size_t from)
{
    std::array<std::uint32_t, kBlock> candidates; // NOLINT(*-member-init): places, written before they are read
    std::uint32_t hash = 0;
    std::uint32_t bits = 0;
    for (std::size_t i = from; i < m_text.size();) {
        // No branch for what is at a place: one that is taken now and then costs as much as ten places.
        const std::size_t end = std::min(i + kBlock, m_text.size());
        std::size_t count = 0;
        while (i < end) {
            const Byte& byte = m_bytes[Index(m_text[i++])];
            hash = (hash << 5 ^ byte.code) % kHashes;
            bits |= byte.bit;
            candidates[count] = static_cast<std::uint32_t>(i);
            count += m_hashes[hash / 64] >> hash % 64 & 1;
        }
        for (std::size_t n = 0; n < count; ++n) {
            if (candidates[n] - from >= kHashed) {
                Compare(candidates[n] - kHashed);
            }
        }
    }
    return bits;
}

/** Finds the texts that tell where matches of the patterns can begin. Returns the patterns that have one. */
LiteralFilter::Patterns LiteralFilter::FindLeading(const Patterns& patterns)
{
    for (std::size_t i = m_led._Find_first(); i < kMaxPatterns; i = m_led._Find_next(i)) {
        m_leads[i].next = kNoLeading;
    }
    m_led.reset();
    m_leading.clear();
    for (const Hit& hit : m_hits) {
        const Literal& literal = m_literals[hit.literal];
        const std::size_t end = hit.place + literal.text.size();
        const bool isFirst = hit.place == 0;
        const std::uint32_t previous = isFirst ? 0 : m_kinds.Of(m_text[hit.place - 1]);
        const std::uint32_t next = end < m_text.size() ? m_kinds.Of(m_text[end]) : kAnyKind;
        for (const Use& use : literal.leads) {
            const Wanted& wanted = use.wanted;
            const bool mayBe = (isFirst || (use.previous & previous) != 0) && (use.next & next) != 0;
            if (!mayBe || !patterns[use.pattern] || !IsAt(hit.place, wanted)) {
                continue;
            }
            const bool hasPrefix = hit.place > 0 && m_around[wanted.around].prefix[Index(m_text[hit.place - 1])];
            const auto number = static_cast<std::uint32_t>(m_leading.size());
            m_leading.push_back({static_cast<std::uint32_t>(hit.place), kNoLeading,
                                 static_cast<std::uint32_t>(std::min<std::size_t>(wanted.before, kNoLeading)),
                                 wanted.isFixed, hasPrefix});
            Lead& lead = m_leads[use.pattern];
            (lead.next == kNoLeading ? lead.next : m_leading[lead.last].next) = number;
            lead.last = number;
            m_led.set(use.pattern);
        }
    }
    return m_led;
}

/** Looks for the literals that stand at this place. */
void LiteralFilter::Compare(std::size_t at)
{
    const std::string_view text = m_text.substr(at);
    const std::uint32_t hash = HashOf(text);
    for (std::uint16_t i = m_first[Place(hash)]; i != kNone; i = m_keys[i].next) {
        const Key& key = m_keys[i];
        if (key.hash != hash || key.size > text.size() || Folded(text[key.size - std::size_t{1}]) != key.last) {
            continue;
        }
        Literal& literal = m_literals[i];
        const auto isSame = [this](char folded, char c) { return folded == Folded(c); };
        if (!std::equal(literal.text.begin(), literal.text.end(), text.begin(), isSame)) {
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
    Lead& lead = m_leads[number];
    if (!lead.hasTexts) {
        return from == m_from || CanMatch(from)[number] ? from : kNowhere;
    }
    while (lead.next != kNoLeading && m_leading[lead.next].place < from) {
        lead.next = m_leading[lead.next].next;
    }
    std::size_t first = kNowhere;
    for (std::uint32_t i = lead.next; i != kNoLeading; i = m_leading[i].next) {
        // A text that is found behind another one may tell a place before that one's.
        if (first != kNowhere && m_leading[i].place > BoundedSum(first, lead.before)) {
            break;
        }
        first = std::min(first, BeginOf(m_leading[i], from));
    }
    const auto isThere = [&](const auto& list) { return HasOneOf(list, first); };
    return first != kNowhere && std::all_of(lead.behind.begin(), lead.behind.end(), isThere) ? first : kNowhere;
}

std::vector<LiteralFilter::Hit>::const_iterator LiteralFilter::HitsFrom(std::size_t from) const
{
    const auto isBefore = [](const Hit& hit, std::size_t place) { return hit.place < place; };
    return std::lower_bound(m_hits.begin(), m_hits.end(), from, isBefore);
}

/** The first place from `from` on at which a match can begin that holds this text, or kNowhere. */
std::size_t LiteralFilter::BeginOf(const Leading& leading, std::size_t from)
{
    const std::size_t space = leading.place - from;
    if (!leading.isFixed) {
        return leading.place - std::min<std::size_t>(space, leading.before);
    }
    if (leading.before > space) {
        return kNowhere;
    }
    return leading.place - leading.before - (leading.hasPrefix && leading.before < space ? 1 : 0);
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
