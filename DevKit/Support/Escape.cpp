#include "Escape.h"

#include "StringUtils.h"

namespace
{

bool IsPrintable(char character)
{
    return character >= ' ' && character <= '~';
}

std::string Hex(char character)
{
    constexpr char kDigits[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(character);
    return {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
}

/** How many bytes the character takes that this one begins; 1 for what begins none. */
std::size_t LengthOf(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    return byte >= 0xf0U ? 4 : byte >= 0xe0U ? 3 : byte >= 0xc0U ? 2 : 1;
}

} // namespace

std::string Escape::Text(const std::string& text)
{
    std::string escaped;
    for (std::size_t at = 0; at < text.size();) {
        const std::string character = text.substr(at, LengthOf(text[at]));
        const bool isControl = character.size() == 1 ? !IsPrintable(text[at]) && text[at] != '\n' && text[at] != '\t'
                                                     : character >= "\xc2\x80" && character <= "\xc2\x9f";
        if (isControl || !StringUtils::IsUtf8(character)) {
            escaped += Hex(text[at++]);
        } else {
            escaped += character;
            at += character.size();
        }
    }
    return escaped;
}

std::string Escape::Name(const std::string& name)
{
    std::string escaped;
    for (const char character : name.substr(0, kLongestName)) {
        if (character == '\\') {
            escaped += "\\\\";
        } else {
            escaped += IsPrintable(character) ? std::string(1, character) : Hex(character);
        }
    }
    return name.size() > kLongestName ? escaped + "..." : escaped;
}
