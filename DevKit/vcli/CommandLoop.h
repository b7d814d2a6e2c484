#pragma once

#include "Options.h"

/** Runs the commands that come line by line on standard input, to its end or to "quit". Returns the first failure. */
ExitStatus RunCommandLoop(const Options& options);
