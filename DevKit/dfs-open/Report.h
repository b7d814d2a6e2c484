#pragma once

#include "Examination.h"

#include <iosfwd>

namespace DfsOpen
{

/** Writes the items as a table: file, type, sub-type, stored and plain size in bytes ("-" if not known), state. */
void PrintTable(const ArchiveReport& report, std::ostream& out);

/** Writes the archive's own faults, a line each, and a line that sums up. */
void PrintVerdict(const ArchiveReport& report, std::ostream& out);

} // namespace DfsOpen
