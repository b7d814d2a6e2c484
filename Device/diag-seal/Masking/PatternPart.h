#pragma once

#include "OnePass.h"
#include "RequiredTexts.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace DiagSeal
{

/** What is known about the matches of a part of a pattern. As it is made, it says nothing. */
struct PatternPart
{
    /** All texts that the part matches, if they are few. One of them may be empty. */
    std::optional<std::vector<std::string>> exact{};
    RequiredLists required{};      ///< if the part is not exact
    std::size_t size = kUnbounded; ///< bytes of a match, at most
    bool repeats = false;          ///< it matches what it says, once or more often
    bool mayBeEmpty = true;
    bool isFixed = false;                ///< all matches have this size
    std::optional<ByteSet> assertion{};  ///< it is "\b", "^" or one of these or a byte: what can stand behind it
    ByteSet first = ByteSet().set();     ///< with which a match begins
    ByteSet last = ByteSet().set();      ///< with which one ends
    ByteSet bytes = ByteSet().set();     ///< that a match holds
    std::optional<Continuation> steps{}; ///< the same, byte by byte, if more is known than these sets
    OnePass onePass{};
};

/** The bytes of which the predicate holds. */
ByteSet BytesOf(bool (*predicate)(char));

/** The set, and each letter in the other case. Beyond ASCII, one byte stands for all. */
ByteSet WithBothCases(ByteSet bytes);

/** A part that matches this text. */
PatternPart PartOfText(std::string text);

/** A part that matches one byte of the set. */
PatternPart PartOfOneByte(const ByteSet& bytes);

/** A part that matches at the beginning of the text, and behind these bytes. */
PatternPart AssertionPart(const ByteSet& behind);

/** The part, or nothing. */
PatternPart OptionalPart(PatternPart part);

/** The part, once or more often. */
PatternPart RepeatedPart(PatternPart part);

/** What one of two parts matches. */
PatternPart EitherPart(PatternPart a, PatternPart b);

/** What each match of the part requires, the rarest first. */
RequiredLists RequiredByPart(PatternPart part);

/** Adds what is known of the part's bytes to what follows a text. */
void Continue(Continuation& next, const PatternPart& part);

} // namespace DiagSeal
