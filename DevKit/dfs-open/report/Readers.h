#pragma once

#include "Facts.h"
#include "Section.h"

/** What takes the facts from the sections. Each returns false when it does not understand the section. Thread-safe. */
namespace DfsReport
{

// DeviceReaders.cpp: what the device is, and which software it runs

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

// StorageReaders.cpp: memory and file systems

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

// LoadReaders.cpp: load and processor time

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

// ProcessReaders.cpp: processes

/** ps(1) of procps, and ps and top of BusyBox: whatever has a line of titles with PID and COMMAND. */
bool ReadProcesses(const Section& section, Facts& facts);

/** pidstat(1). */
bool ReadSampled(const Section& section, Facts& facts);

// NetworkReaders.cpp: the network

/** /proc/net/dev. */
bool ReadTraffic(const Section& section, Facts& facts);

/** `ip address` and `ifconfig -a`. */
bool ReadAddresses(const Section& section, Facts& facts);

/** `ip route`, `ip -6 route`, `route -n` and `route -A inet6 -n`. */
bool ReadRoutes(const Section& section, Facts& facts);

/** resolv.conf(5). */
bool ReadNameServers(const Section& section, Facts& facts);

// LogReaders.cpp: logs

/**
 * Lines of a log: of syslogd, of BusyBox's logread, of `journalctl --output=short-iso` and of dmesg(1). A line that two
 * logs have is counted once.
 */
bool ReadLog(const Section& section, Facts& facts);

} // namespace DfsReport
