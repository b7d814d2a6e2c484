#pragma once

#include <string>

namespace DiagSeal
{

struct Options;
struct Outcome;

/** What the sealed text says on how its command, or the reading of its file, has ended: whole lines, none if all is
 * well. */
std::string OutcomeLines(const Options& options, const Outcome& outcome);

} // namespace DiagSeal
