#pragma once

#include "Facts.h"
#include "Section.h"

/** The network. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

/** /proc/net/dev. */
bool ReadTraffic(const Section& section, Facts& facts);

/** `ip address` and `ifconfig -a`. */
bool ReadAddresses(const Section& section, Facts& facts);

/** `ip route`, `ip -6 route`, `route -n` and `route -A inet6 -n`. */
bool ReadRoutes(const Section& section, Facts& facts);

/** resolv.conf(5). */
bool ReadNameServers(const Section& section, Facts& facts);

} // namespace DfsReport
