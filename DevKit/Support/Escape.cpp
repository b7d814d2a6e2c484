#include "Escape.h"

#include "Utf8Text.h"

#include <string_view>

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

// Whether a character may reach a terminal.
bool IsHarmless(std::string_view character)
{
    return character.size() == 1 ? IsPrintable(character[0]) || character == "\n" || character == "\t"
                                 : character < "\xc2\x80" || character > "\xc2\x9f";
}

} // namespace

std::string Escape::Text(const std::string& text)
{
    std::string escaped;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = std::string_view(text).substr(at);
        const std::string_view character = rest.substr(0, Utf8Text::CharacterLength(rest));
        if (!character.empty() && IsHarmless(character)) {
            escaped += character;
            at += character.size();
        } else {
            escaped += Hex(text[at++]);
        }
    }
    return escaped;
}

std::string Escape::Name(const std::string& name, std::size_t longest)
{
    std::string escaped;
    for (const char character : name.substr(0, longest)) {
        if (character == '\\') {
            escaped += "\\\\";
        } else {
            escaped += IsPrintable(character) ? std::string(1, character) : Hex(character);
        }
    }
    return name.size() > longest ? escaped + "..." : escaped;
}
