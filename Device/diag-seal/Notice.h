#pragma once

#include <string>

namespace DiagSeal
{

/**
 * Tells what whoever looks after the device should know, in one line on standard error. If that is the very file that
 * standard output is, as it is for an item of the service, the line would spoil what is sealed: then it goes to
 * syslog(3).
 */
void Notice(const std::string& text);

/**
 * Tells why nothing was sealed, in one line on standard error; and to syslog(3) if that is the file of an item, as
 * nobody looks into an item that has failed.
 */
void TellFailure(const std::string& text);

} // namespace DiagSeal
