#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

/** Texts of which each match of a pattern holds one. Letters are small and match in either case; a blank is any white
 * space. */
struct RequiredTexts
{
    static constexpr std::size_t kAnywhere = static_cast<std::size_t>(-1);

    std::vector<std::string> texts;
    std::size_t before = kAnywhere; ///< bytes of the match before the text, at most
    std::size_t order = 0;          ///< the text stands behind those of lists of a lower order
};

/**
 * What each match of a pattern holds: one text of each of the lists, of which the one that is found least often comes
 * first. "(?:user|login)\s*[:=]" gives {"user", "login"} and {":", "="}.
 *
 * Each text has three bytes, or one that is neither letter, digit nor blank: others are found everywhere. What is left
 * out only makes the answer weaker: a part that may be missing, a class of many characters, a construct that this
 * reader does not know. No list at all says nothing about a match. The pattern is RE2's and need not be valid.
 * Thread-safe.
 */
std::vector<RequiredTexts> RequiredLiterals(std::string_view pattern);

} // namespace DiagSeal
