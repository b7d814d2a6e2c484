#pragma once

#include "Evidence.h"

/** The rules about memory, file systems, processors and processes. What each finds says the table in Findings.cpp;
 * facts that are not there break no rule. Thread-safe. */
namespace DfsReport
{

void FindFullFileSystems(const Evidence& evidence);
void FindFullInodes(const Evidence& evidence);
void FindLittleMemory(const Evidence& evidence);
void FindFullSwap(const Evidence& evidence);
void FindKilledProcesses(const Evidence& evidence);
void FindHighLoad(const Evidence& evidence);
void FindBusyProcess(const Evidence& evidence);
void FindPressure(const Evidence& evidence);

} // namespace DfsReport
