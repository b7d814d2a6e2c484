#pragma once

#include <chrono>

namespace Vcli
{

/**
 * Tells somebody at a terminal how long vcli has been waiting: a line on standard error that takes the place of the one
 * before. Where standard output or standard error is no terminal, it writes nothing. Not thread-safe.
 */
class WaitingLine
{
public:
    WaitingLine();
    ~WaitingLine() { Clear(); }
    WaitingLine(const WaitingLine&) = delete;
    WaitingLine& operator=(const WaitingLine&) = delete;

    /** Shows the whole seconds since the construction; nothing within the first. */
    void Show();

    /** Takes the line away, for another line in its place. */
    void Clear();

private:
    const bool m_isTerminal;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    bool m_isShown = false;
};

} // namespace Vcli
