#pragma once

#include "RequiredTexts.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
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
};

/** A part that matches this text. */
PatternPart PartOfText(std::string text);

/** A part that matches one byte, of which nothing else is known. */
PatternPart PartOfOneByte();

/** The part, or nothing. */
PatternPart OptionalPart(const PatternPart& part);

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

    /** The same as for a part that matches this text, but cheaper. */
    void AddText(std::string_view text);

    PatternPart Finish();

private:
    PatternPart m_all{std::vector<std::string>{}, {}, 0}; ///< its exact texts are m_run until Finish
    std::vector<std::string> m_run{""};                   ///< what the parts that were added last match together
    std::size_t m_before = 0;                             ///< bytes of the sequence before that, at most
    std::size_t m_order = 0;
};

} // namespace DiagSeal
