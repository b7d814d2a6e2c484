#pragma once

#include <array>
#include <cstddef>

namespace DiagSeal
{

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

/** The value of a hex digit. */
constexpr int HexValue(char c)
{
    return IsDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10;
}

/** The predicate as a table, which is faster: every byte of a log passes here. */
template <bool (*Predicate)(char)>
struct CharacterClass
{
    std::array<bool, 256> members{};

    constexpr CharacterClass()
    {
        for (int c = 0; c < 256; ++c) {
            members[static_cast<std::size_t>(c)] = Predicate(static_cast<char>(c));
        }
    }

    constexpr bool operator()(char c) const { return members[static_cast<unsigned char>(c)]; }
};

constexpr CharacterClass<IsWord> kWord;
constexpr CharacterClass<IsHex> kHex;

} // namespace DiagSeal
