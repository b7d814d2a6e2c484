#include "EventLine.h"

#include "WallClock.h"

#include <algorithm>
#include <chrono>

void WriteEvent(const LineWriter& writer, const std::string& text)
{
    if (writer) {
        using std::chrono::milliseconds;
        const auto now = std::chrono::duration_cast<milliseconds>(WallClock::Now().time_since_epoch()).count();
        const std::string thousandths = std::to_string(1000 + now % 1000).substr(1);
        writer(WallClock::Text("%FT%T.", now / 1000) + thousandths + "Z " + text);
    }
}

std::string Printable(const std::string& text, std::size_t longest)
{
    std::string printable = text.substr(0, longest);
    std::replace_if(
        printable.begin(), printable.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text.size() > longest ? printable + "..." : printable;
}
