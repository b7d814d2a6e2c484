#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace DiagSeal
{

using ByteSet = std::bitset<256>;

/**
 * What stands behind a text in each match of a pattern: the next few bytes, class by class.
 *
 * A quick look, that turns away most places where the pattern cannot match: "token" of "tokens left" has no separator.
 * It never turns away a match, so what it does not know, it allows. Not thread-safe while it is built.
 */
class Continuation
{
public:
    /** One byte of the set follows, or several if `repeats`. */
    void Add(const ByteSet& bytes, bool repeats);

    /** As Add, but there may be none. */
    void AddOptional(const ByteSet& bytes, bool repeats);

    /** One byte of the first set and any number of the second may follow. */
    void AddOptionalGroup(const ByteSet& first, const ByteSet& bytes);

    /** What `next` says follows. */
    void Append(const Continuation& next);

    /** How many bytes follow in any case: each is one of its own set. */
    std::size_t FixedSize() const;

    /** The set of one of those bytes. */
    const ByteSet& At(std::size_t i) const { return m_steps[i].bytes; }

    /** Anything may follow from here on: what is added later is without effect. */
    void Close() { m_isClosed = true; }

    bool AllowsAnything() const;

    /** The bytes that may stand first. */
    ByteSet First() const;

    bool operator==(const Continuation& other) const { return m_steps == other.m_steps; }

private:
    friend class ContinuationTable;

    static constexpr std::size_t kMaxSteps = 15;

    struct Step
    {
        ByteSet bytes;
        std::uint8_t skips; ///< steps that may be left out from this one on, itself included
        bool repeats;

        bool operator==(const Step& other) const
        {
            return bytes == other.bytes && skips == other.skips && repeats == other.repeats;
        }
    };

    void AddStep(const Step& step);

    std::vector<Step> m_steps;
    bool m_isClosed = false;
};

/** A continuation made ready to be compared with text: all ways through its steps at once, a bit each. 544 bytes. */
class ContinuationTable
{
public:
    explicit ContinuationTable(const Continuation& continuation);

    /** Whether the text can begin with the continuation. Looks at no more than kMaxLook bytes. */
    bool Allows(std::string_view text) const;

private:
    static constexpr std::size_t kMaxLook = 24;
    using Steps = std::uint16_t; ///< a bit for each step that may come next; the one behind the last is the end

    std::array<Steps, 256> m_takes{};                         ///< by byte: the steps that take it
    std::array<Steps, Continuation::kMaxSteps + 1> m_after{}; ///< by step: what may come behind it
    Steps m_first = 0;
    Steps m_end = 0;
};

} // namespace DiagSeal
