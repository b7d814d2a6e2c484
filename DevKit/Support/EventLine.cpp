#include "EventLine.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

std::string TimeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 40> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%FT%T", &utc);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ ", static_cast<int>(milliseconds));
    return text.data();
}

std::string Printable(const std::string& text, std::size_t longest)
{
    std::string printable;
    for (const char c : text.substr(0, longest)) {
        printable += c >= ' ' && c <= '~' ? c : '?';
    }
    return text.size() > longest ? printable + "..." : printable;
}
