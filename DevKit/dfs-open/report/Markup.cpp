#include "Markup.h"

#include "Utf8Text.h"

#include <cstdint>

namespace DfsReport::Markup
{

namespace
{

constexpr char kDigits[] = "0123456789abcdef";

bool IsPlain(char character)
{
    return (character >= ' ' && character <= '~' && character != '<' && character != '>' && character != '&' &&
            character != '"' && character != '\'') ||
           character == '\n' || character == '\t';
}

const char* Entity(char character)
{
    switch (character) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return nullptr;
    }
}

void AppendHex(std::string& page, char character)
{
    const auto byte = static_cast<unsigned char>(character);
    page += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
}

// The code point of a valid sequence of two bytes or more.
std::uint32_t CodePoint(std::string_view character)
{
    std::uint32_t point = static_cast<unsigned char>(character[0]) & (0xFFU >> (character.size() + 1));
    for (const char byte : character.substr(1)) {
        point = point << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return point;
}

// Whether a character is not seen as what it is: it controls, turns, joins or hides.
bool IsDeceptive(std::uint32_t point)
{
    struct Range
    {
        std::uint32_t first, last;
    };
    // C1 controls, soft hyphen, grapheme joiner, Arabic letter mark, Hangul fillers, Khmer vowels that are not seen,
    // Mongolian separators, zero width to right-to-left mark, line separator to overrides, invisible operators and
    // isolates, Hangul filler, byte order mark, Hangul filler, interlinear marks, noncharacters, shorthand and musical
    // controls, tags.
    constexpr Range kRanges[] = {{0x80, 0x9F},       {0xAD, 0xAD},      {0x34F, 0x34F},   {0x61C, 0x61C},
                                 {0x115F, 0x1160},   {0x17B4, 0x17B5},  {0x180B, 0x180F}, {0x200B, 0x200F},
                                 {0x2028, 0x202E},   {0x2060, 0x206F},  {0x3164, 0x3164}, {0xFEFF, 0xFEFF},
                                 {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFC},  {0xFFFE, 0xFFFF}, {0x1BCA0, 0x1BCA3},
                                 {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
    for (const Range& range : kRanges) {
        if (point >= range.first && point <= range.last) {
            return true;
        }
    }
    return false;
}

void AppendCode(std::string& page, std::uint32_t point)
{
    std::string digits;
    for (; point != 0; point >>= 4U) {
        digits.insert(digits.begin(), kDigits[point & 0xFU]);
    }
    page += "\\u{" + digits + '}';
}

// Appends the character that the text begins with. Returns its length.
std::size_t AppendCharacter(std::string& page, std::string_view text)
{
    if (const char* entity = Entity(text[0])) {
        page += entity;
        return 1;
    }
    const std::string_view character = text.substr(0, Utf8Text::CharacterLength(text));
    if (character.size() < 2) {
        AppendHex(page, text[0]);
        return 1;
    }
    const std::uint32_t point = CodePoint(character);
    if (IsDeceptive(point)) {
        AppendCode(page, point);
    } else {
        page += character;
    }
    return character.size();
}

} // namespace

void Append(std::string& page, std::string_view text)
{
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && IsPlain(text[plain])) {
            ++plain;
        }
        page += text.substr(0, plain);
        text.remove_prefix(plain);
        if (!text.empty()) {
            text.remove_prefix(AppendCharacter(page, text));
        }
    }
}

std::string Escape(const std::string& text)
{
    std::string escaped;
    Append(escaped, text);
    return escaped;
}

std::string Shortened(std::string_view text, std::size_t most)
{
    if (text.size() <= most) {
        return std::string(text);
    }
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0U) == 0x80U) {
        --most;
    }
    return std::string(text.substr(0, most)) + "\xe2\x80\xa6";
}

} // namespace DfsReport::Markup
