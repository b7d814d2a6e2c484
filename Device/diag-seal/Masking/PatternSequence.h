#pragma once

#include "PatternPart.h"

#include <cstddef>
#include <string>
#include <vector>

namespace DiagSeal
{

/** Puts parts together that follow each other. */
class PatternSequence
{
public:
    PatternSequence() { m_all.steps.emplace(); }

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

/** The part so often, or more often if it goes on. Of a part of one byte, the steps tell each repetition. */
PatternPart CountedPart(const PatternPart& part, std::size_t least, bool goesOn);

} // namespace DiagSeal
