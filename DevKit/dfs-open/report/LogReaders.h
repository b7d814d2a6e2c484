#pragma once

#include "Facts.h"
#include "Section.h"

/** Logs. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

/**
 * Lines of a log: of syslogd, of BusyBox's logread, of `journalctl --output=short-iso` and of dmesg(1). A line that two
 * logs have is counted once.
 */
bool ReadLog(const Section& section, Facts& facts);

} // namespace DfsReport
