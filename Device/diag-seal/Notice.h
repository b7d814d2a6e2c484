#pragma once

#include <string>

namespace DiagSeal
{

/**
 * Writes a warning for whoever looks after the device, as one line on standard error. If standard output goes to the
 * same place, as for an item of the service, the line would spoil what is sealed. Then it goes to the system log
 * instead, see syslog(3). Does not block on a log that nobody reads, and then loses the line. Thread-safe.
 */
void Notice(const std::string& text);

/**
 * Writes why nothing was sealed, as one line on standard error. If standard output goes to the same file, as for an
 * item of the service, the line goes to the system log as well, as Notice writes it: nobody looks into an item that has
 * failed. Thread-safe.
 */
void TellFailure(const std::string& text);

} // namespace DiagSeal
