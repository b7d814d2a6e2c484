#pragma once

#include "Facts.h"
#include "Section.h"

/** Load and processor time. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

/** /proc/loadavg. */
bool ReadLoadAverage(const Section& section, Facts& facts);

/** /proc/interrupts and /proc/softirqs: how many processors there are. */
bool ReadProcessorCount(const Section& section, Facts& facts);

/** mpstat(1), of sysstat and BusyBox. */
bool ReadProcessors(const Section& section, Facts& facts);

/** /proc/stat, whose second sample is compared with the first. */
bool ReadStat(const Section& section, Facts& facts);

/** /proc/pressure/... */
bool ReadPressure(const Section& section, Facts& facts);

} // namespace DfsReport
