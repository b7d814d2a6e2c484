#pragma once

#include <csignal>

namespace DiagSeal
{

/** Blocks CHLD, HUP, INT and TERM for this thread and returns them, for signalfd(2) or sigtimedwait(2). */
sigset_t BlockSignals();

} // namespace DiagSeal
