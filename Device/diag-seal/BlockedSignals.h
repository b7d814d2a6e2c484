#pragma once

#include <csignal>

namespace DiagSeal
{

/** Blocks CHLD, HUP, INT and TERM, to be read by signalfd(2) or sigtimedwait(2), and returns them. */
sigset_t BlockSignals();

} // namespace DiagSeal
