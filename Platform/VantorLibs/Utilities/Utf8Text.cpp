#include "Utf8Text.h"

#include <algorithm>

namespace
{
// How a character of two to four bytes begins (RFC 3629 section 4), and the range of its second byte.
struct Lead
{
    unsigned char first, last, secondMin, secondMax;
    std::size_t length;
};

constexpr Lead kLeads[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

bool IsContinuation(char c) noexcept
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}
} // namespace

std::size_t Utf8Text::CharacterLength(std::string_view text) noexcept
{
    const auto byteAt = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    if (text.empty() || byteAt(0) < 0x80) {
        return text.empty() ? 0 : 1;
    }
    for (const Lead& lead : kLeads) {
        if (byteAt(0) >= lead.first && byteAt(0) <= lead.last) {
            const bool isWhole = text.size() >= lead.length && byteAt(1) >= lead.secondMin &&
                                 byteAt(1) <= lead.secondMax &&
                                 std::all_of(text.begin() + 2, text.begin() + lead.length, IsContinuation);
            return isWhole ? lead.length : 0;
        }
    }
    return 0;
}

bool Utf8Text::IsValid(std::string_view text) noexcept
{
    while (const std::size_t length = CharacterLength(text)) {
        text.remove_prefix(length);
    }
    return text.empty();
}

std::string Utf8Text::Repair(std::string_view text)
{
    std::string repaired;
    repaired.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        repaired += length == 0 ? "\xEF\xBF\xBD" : text.substr(0, length);
        text.remove_prefix(std::max(length, std::size_t{1}));
    }
    return repaired;
}

std::string_view Utf8Text::Cut(std::string_view text, std::size_t longest) noexcept
{
    std::size_t end = std::min(longest, text.size());
    while (end > 0 && end < text.size() && IsContinuation(text[end])) {
        --end;
    }
    return text.substr(0, end);
}
