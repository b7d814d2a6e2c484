#pragma once

#include "Evidence.h"

/** The rules. The table in Findings.cpp says what each finds. A fact that is not there breaks no rule. Thread-safe. */
namespace DfsReport
{

// ResourceRules.cpp: memory, file systems, processors and processes
void FindFullFileSystems(const Evidence& evidence);
void FindFullInodes(const Evidence& evidence);
void FindLittleMemory(const Evidence& evidence);
void FindFullSwap(const Evidence& evidence);
void FindKilledProcesses(const Evidence& evidence);
void FindHighLoad(const Evidence& evidence);
void FindBusyProcess(const Evidence& evidence);
void FindPressure(const Evidence& evidence);

// DeviceRules.cpp: the archive, the logs, the software and the network
void FindBrokenItems(const Evidence& evidence);
void FindArchiveFaults(const Evidence& evidence);
void FindCutItems(const Evidence& evidence);
void FindCrashes(const Evidence& evidence);
void FindCoreDumps(const Evidence& evidence);
void FindLogErrors(const Evidence& evidence);
void FindRestarts(const Evidence& evidence);
void FindFailedUpdate(const Evidence& evidence);
void FindUnsetClock(const Evidence& evidence);
void FindDeadNetwork(const Evidence& evidence);
void FindNoRoute(const Evidence& evidence);
void FindLossyInterface(const Evidence& evidence);
void FindFailedTools(const Evidence& evidence);

} // namespace DfsReport
