#pragma once

#include "DPrint.h"

namespace Http
{
/** The level of what is of use only when a single exchange is followed step by step. */
constexpr int kMostDetailedLevel = 7;

/** Writes a line in stream form from its parts; nothing is put together when the level is not to be written. */
template <class... Parts>
void LogLine(const DPrint& log, int level, const char* functionName, const Parts&... parts)
{
    if (log.IsLog(level)) {
        std::ostringstream line;
        (log.Prefix(line, level, functionName) << ... << parts);
        log.Put(line);
    }
}
} // namespace Http
