#pragma once

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
    bool isFixed = false;               ///< all matches have this size
    std::optional<ByteSet> assertion{}; ///< it is "\b", "^" or one of these or a byte: what can stand behind it
    ByteSet first = ByteSet().set();    ///< with which a match begins
    ByteSet bytes = ByteSet().set();    ///< that a match holds
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

/** Puts parts together that follow each other. */
class PatternSequence
{
public:
    void Add(PatternPart part);
    PatternPart Finish();

private:
    void AddBytes(PatternPart part);
    void Precede(RequiredTexts& list) const;
    void Widen();
    RequiredTexts TakeRun();

    PatternPart m_all = PartOfText("");
    std::vector<std::string> m_run{""};   ///< what the parts that were added last match together
    ByteSet m_previous = ByteSet().set(); ///< what can stand before that
    ByteSet m_prefix;                     ///< what belongs to the match if it stands before that
    std::size_t m_before = 0;             ///< bytes of the sequence before that, at most
    bool m_isFixed = true;                ///< exactly
    std::size_t m_order = 0;
};

} // namespace DiagSeal
