#pragma once

#include <iomanip>
#include <limits>
#include <locale>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>

/** Operations on texts. None depends on the process's locale. Thread-safe. */
namespace StringUtils
{
/**
 * The text with every occurrence of `from` replaced, left to right. What `to` brings in is not searched again. An empty
 * `from` occurs nowhere.
 */
std::string FindReplace(std::string text, const std::string& from, const std::string& to);

/** The text without the ASCII white space at both its ends. */
std::string trim(std::string text);

/**
 * One JSON object (RFC 8259) on one line, members in order of their names, in ASCII: other characters as \u escapes,
 * bytes that are not UTF-8 as U+FFFD.
 */
std::string ToJson(const std::map<std::string, std::string>& values);

/**
 * The value as text: numbers in decimal, bool as "true" or "false", anything else as the stream operator << writes it.
 * A floating-point number has as few digits as read back to the same number.
 */
template <class T>
std::string ToString(const T& value)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    if constexpr (std::is_floating_point_v<T>) {
        using Limits = std::numeric_limits<T>;
        for (int digits = Limits::digits10; digits <= Limits::max_digits10; ++digits) {
            stream.str({});
            stream << std::setprecision(digits) << value;
            std::istringstream back(stream.str());
            back.imbue(std::locale::classic());
            T read{};
            if (back >> read && !(read < value) && !(value < read)) {
                break;
            }
        }
    } else if constexpr (std::is_same_v<T, signed char> || std::is_same_v<T, unsigned char>) {
        stream << static_cast<int>(value);
    } else {
        stream << std::boolalpha << value;
    }
    return stream.str();
}
} // namespace StringUtils
