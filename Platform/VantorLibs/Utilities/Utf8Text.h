#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/** Texts in UTF-8 as RFC 3629 has it: no overlong form, no surrogate, nothing above U+10FFFF. Thread-safe. */
namespace Utf8Text
{
/** The bytes (1..4) of the character that the text begins with; 0 when the text is empty or begins with none. */
std::size_t CharacterLength(std::string_view text) noexcept;

bool IsValid(std::string_view text) noexcept;

/** The text with U+FFFD in place of each byte that belongs to no character. */
std::string Repair(std::string_view text);

/** The beginning of a valid text: at most that many bytes, cut between two characters. */
std::string_view Cut(std::string_view text, std::size_t longest) noexcept;
} // namespace Utf8Text
