#pragma once

#include "Evidence.h"

/** The rules about the archive, the logs, the software and the network. What each finds says the table in Findings.cpp;
 * facts that are not there break no rule. Thread-safe. */
namespace DfsReport
{

void FindBrokenItems(const Evidence& evidence);
void FindArchiveFaults(const Evidence& evidence);
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
