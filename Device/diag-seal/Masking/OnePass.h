#pragma once

#include "Continuation.h"

#include <string>

namespace DiagSeal
{

/**
 * Whether a part of a pattern is matched in one pass: with each byte, at most one way through the part goes on.
 *
 * RE2 finds the groups of such a pattern while it finds the match, at a fraction of what two searches cost. Of any
 * other pattern it finds them far slower than the match. RE2 does not tell which one a pattern is. What is wrong here
 * costs time, and changes no match. Not thread-safe while it is built.
 */
class OnePass
{
public:
    /** A part that matches this text; letters are small and match in either case. */
    static OnePass OfText(const std::string& text, const ByteSet& first);

    /** A part that matches one byte of the set. */
    static OnePass OfOneByte(const ByteSet& bytes);

    /** The part, or nothing. */
    void MakeOptional();

    /** The part, once or more often. */
    void Repeat();

    /** The part, and the next one behind it. */
    void Add(const OnePass& next);

    /** The part, or another one that stands behind it in a list of alternatives. */
    void AddAlternative(const OnePass& other);

    bool Holds() const { return m_holds; }

private:
    bool IsDistinct(const OnePass& other);

    bool m_holds = true;
    bool m_mayBeEmpty = true;
    ByteSet m_first;     ///< with which a match begins
    ByteSet m_more;      ///< with which a match may go on, although it may end as well
    std::string m_leads; ///< texts with which the alternatives begin, each with a NUL; empty if one begins otherwise
    bool m_areWhole = false; ///< and which they are
};

} // namespace DiagSeal
