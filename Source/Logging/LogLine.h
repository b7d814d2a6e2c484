#pragma once

#include "DPrint.h"

#include <cstddef>
#include <exception>
#include <ostream>
#include <sstream>
#include <string_view>
#include <type_traits>

/** How many bytes of one text a line shows: a text from outside, however long, must leave room for the rest of its
 *  line. */
inline constexpr std::size_t kLongestLoggedText = 4096;

/**
 * A part of a line as the line shows it. Of a text beyond kLongestLoggedText the beginning, and how many bytes follow;
 * of a function what it returns; anything else as its stream operator writes it. Refers to the part.
 */
template <typename Part>
struct Logged
{
    const Part& part;
};

template <typename Part>
std::ostream& operator<<(std::ostream& line, Logged<Part> logged)
{
    if constexpr (std::is_invocable_v<const Part&>) {
        const auto result = logged.part();
        line << Logged<decltype(result)>{result};
    } else if constexpr (std::is_convertible_v<const Part&, std::string_view>) {
        const std::string_view text = logged.part;
        line << text.substr(0, kLongestLoggedText);
        if (text.size() > kLongestLoggedText) {
            line << " (" << text.size() - kLongestLoggedText << " bytes more)";
        }
    } else {
        line << logged.part;
    }
    return line;
}

/**
 * Writes one line in stream form, put together from its parts, which are only formatted if the line is to be written.
 * A part that costs work to make is passed as a function that returns it. Never throws: a line for which there is no
 * memory is lost.
 *
 * @param level     as DPrint has it, 0 the most severe
 * @param operation the name of the operation, the line's prefix
 *
 * Thread-safe.
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
        (line << ... << Logged<Parts>{parts});
        log.Put(line);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the work that is logged goes on
    }
}
