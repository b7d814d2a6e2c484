#pragma once

#include <new>
#include <sstream>

#include "DPrint.h"

/**
 * Writes one line in stream form, put together from its parts, which are only formatted if the line is to be written.
 * A line for which there is no memory is lost: no operation ends for its log. Any thread may call.
 *
 * @param level     as DPrint has it, 0 the most severe
 * @param operation the name of the operation, the line's prefix
 */
template <typename... Parts>
void LogLine(const DPrint& log, int level, const char* operation, const Parts&... parts) noexcept
{
    if (!log.IsLog(level)) {
        return;
    }
    try {
        std::ostringstream line;
        log.Prefix(line, level, operation);
        (line << ... << parts);
        log.Put(line);
    } catch (const std::bad_alloc&) {
        return;
    }
}
