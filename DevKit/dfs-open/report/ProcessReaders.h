#pragma once

#include "Facts.h"
#include "Section.h"

/** Processes. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

/** ps(1) of procps, and ps and top of BusyBox: whatever has a line of titles with PID and COMMAND. */
bool ReadProcesses(const Section& section, Facts& facts);

/** pidstat(1). */
bool ReadSampled(const Section& section, Facts& facts);

} // namespace DfsReport
