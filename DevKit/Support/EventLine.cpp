#include "EventLine.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <sstream>

std::string TimeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::ostringstream text;
    text << std::put_time(&utc, "%FT%T.") << std::setfill('0') << std::setw(3) << milliseconds << "Z ";
    return text.str();
}

std::string Printable(const std::string& text, std::size_t longest)
{
    std::string printable;
    for (const char c : text.substr(0, longest)) {
        printable += c >= ' ' && c <= '~' ? c : '?';
    }
    return text.size() > longest ? printable + "..." : printable;
}
