#include "EventLine.h"

#include "WallClock.h"

#include <chrono>
#include <iomanip>
#include <sstream>

std::string TimeOfDay()
{
    using namespace std::chrono;
    const auto now = WallClock::Now().time_since_epoch();
    std::ostringstream text;
    text << WallClock::Text("%FT%T.", duration_cast<seconds>(now).count()) << std::setfill('0') << std::setw(3)
         << duration_cast<milliseconds>(now).count() % 1000 << "Z ";
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
