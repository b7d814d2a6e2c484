#pragma once

#include "Continuation.h"

#include <cstddef>
#include <string>
#include <vector>

namespace DiagSeal
{

/** A distance or a size that has no bound. */
constexpr std::size_t kUnbounded = static_cast<std::size_t>(-1);

/** Letters are small and match in either case; a blank is any white space. */
struct RequiredText
{
    std::string text;
    std::size_t before = kUnbounded;    ///< bytes of the match before the text, at most
    bool isFixed = false;               ///< `before` is exact, but for the prefix
    ByteSet previous = ByteSet().set(); ///< the byte before the text, if there is one, is one of these
    ByteSet prefix{};                   ///< one of these belongs to the match if it stands before the text
    Continuation next{};                ///< what follows it

    bool operator==(const RequiredText& other) const
    {
        return text == other.text && previous == other.previous && prefix == other.prefix && next == other.next;
    }
};

/** Texts of which each match of a pattern holds one. */
struct RequiredTexts
{
    std::vector<RequiredText> texts;
    std::size_t order = 0; ///< the text begins behind those of lists of a lower order
};

using RequiredLists = std::vector<RequiredTexts>;

/** The most texts of a list. A longer one says little, and takes long to look for. */
constexpr std::size_t kMaxTexts = 48;

/** Adds a list, unless one of its texts is found everywhere. Not everywhere are texts of three bytes, and bytes that
 * are neither letter, digit nor blank. */
void AddIfRare(RequiredTexts list, RequiredLists& lists);

/** Four lists: first those that tell where a match begins, then those that are found least often. */
RequiredLists Rarest(RequiredLists lists);

/** What is required if one of two parts of a pattern matches. */
RequiredLists RequiredByEither(RequiredLists a, RequiredLists b);

/** Lets anything follow each of the texts. */
void CloseAll(RequiredTexts& list);

/** Leaves out what says nothing new: a list if one before it implies it, and a text that holds another one. */
RequiredLists WithoutRedundant(const RequiredLists& lists);

/** The sum of two distances or sizes. */
constexpr std::size_t BoundedSum(std::size_t a, std::size_t b)
{
    return a == kUnbounded || b == kUnbounded ? kUnbounded : a + b;
}

} // namespace DiagSeal
