#pragma once

#include "Examination.h"

#include <iosfwd>

namespace DfsOpen
{

/**
 * Writes the items as a table: file, type, sub-type, stored and plain size in bytes ("-" if not known), state; then the
 * archive's own faults, a line each, and a line that sums up.
 */
void Print(const ArchiveReport& report, std::ostream& out);

/**
 * Writes the archive's own faults and those of the items with the sub-type.
 * @return whether there are such items, and all of them are whole
 */
bool PrintFaults(const ArchiveReport& report, const std::string& subType, std::ostream& err);

} // namespace DfsOpen
