#pragma once

#include "Console.h"

namespace Vcli
{

/** Runs the commands on standard input, one a line, to its end or to "quit". @return the first failure */
ExitStatus RunCommandLoop(const Options& options);

} // namespace Vcli
