#pragma once

#include "Facts.h"
#include "Section.h"

/** Memory and file systems. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

/** /proc/meminfo, proc(5). */
bool ReadMemory(const Section& section, Facts& facts);

/** /proc/vmstat: processes that were killed for want of memory. */
bool ReadKills(const Section& section, Facts& facts);

/** `df -h`, of coreutils and BusyBox; what is mounted at several places is told once. */
bool ReadFileSystems(const Section& section, Facts& facts);

/** `df -i`; adds to the file systems that there are. */
bool ReadInodes(const Section& section, Facts& facts);

/** /proc/mounts: which file systems are read-only. */
bool ReadMounts(const Section& section, Facts& facts);

} // namespace DfsReport
