#include "WaitingLine.h"

#include <unistd.h>
#include <iostream>

namespace Vcli
{

WaitingLine::WaitingLine() : m_isTerminal(isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1) {}

void WaitingLine::Show()
{
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_start).count();
    if (m_isTerminal && seconds > 0) {
        std::cerr << "\rwaiting for the outcome, " << seconds << " s" << std::flush;
        m_isShown = true;
    }
}

void WaitingLine::Clear()
{
    if (m_isShown) {
        std::cerr << "\r\x1b[K" << std::flush; // to the end of the line: ECMA-48, EL
        m_isShown = false;
    }
}

} // namespace Vcli
