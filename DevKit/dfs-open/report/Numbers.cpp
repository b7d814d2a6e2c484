#include "Numbers.h"

#include <array>
#include <cstdio>

namespace DfsReport
{

std::string Decimal(double value, int decimals)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    std::string digits = text.data();
    if (digits.find('.') != std::string::npos) {
        digits.erase(digits.find_last_not_of('0') + 1);
        if (digits.back() == '.') {
            digits.pop_back();
        }
    }
    return digits == "-0" ? "0" : digits;
}

std::string Counted(std::uint64_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string Bytes(double bytes)
{
    constexpr double kStep = 1024;
    constexpr const char* kUnits[] = {" B", " KiB", " MiB", " GiB"};
    const char* const* unit = kUnits;
    for (; bytes >= kStep && unit != &kUnits[3]; ++unit) {
        bytes /= kStep;
    }
    return Decimal(bytes) + *unit;
}

} // namespace DfsReport
