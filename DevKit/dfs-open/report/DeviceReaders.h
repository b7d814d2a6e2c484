#pragma once

#include "Facts.h"
#include "Section.h"

/** What the device is, and which software it runs. Each returns false when it does not understand the section.
 * Thread-safe. */
namespace DfsReport
{

/** The manufacturing data, a JSON object. */
bool ReadManufacturing(const Section& section, Facts& facts);

/** VantorVersion.json. */
bool ReadVersion(const Section& section, Facts& facts);

/** /proc/uptime. */
bool ReadUptime(const Section& section, Facts& facts);

/** `date -u`. */
bool ReadDate(const Section& section, Facts& facts);

/** The update's status: lines of name and value. */
bool ReadUpdateStatus(const Section& section, Facts& facts);

/** The update's changes of state: "FROM -> TO at TIME". */
bool ReadUpdateStates(const Section& section, Facts& facts);

/** The releases that were installed: "TIME VERSION". */
bool ReadReleases(const Section& section, Facts& facts);

/** `ls -la` of core dumps. */
bool ReadCoreDumps(const Section& section, Facts& facts);

} // namespace DfsReport
