#pragma once

#include <string>

namespace DiagSeal
{

struct Options;
struct Outcome;

/**
 * The lines at the end of the sealed text: how its command, or the reading of its file, has ended. Each ends with a
 * line break; empty if all is well. Not thread-safe.
 */
std::string OutcomeLines(const Options& options, const Outcome& outcome);

} // namespace DiagSeal
