#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/** How the reports of a device are taken apart. Views point into the text that was given. Thread-safe. */
namespace DfsReport
{

struct Line
{
    std::string_view text;  ///< Without its end of line, be it "\n" or "\r\n".
    std::size_t number = 0; ///< From 1, as the item has it.
};

/** Goes through the lines of a text. Not thread-safe. */
class Lines
{
public:
    explicit Lines(std::string_view text, std::size_t firstNumber = 1) : m_rest(text), m_next(firstNumber) {}

    /** False at the end. */
    bool Next(Line& line);

private:
    std::string_view m_rest;
    std::size_t m_next;
};

/** The words between blanks and tabs, at most so many; what is behind those is left out. */
std::vector<std::string_view> Words(std::string_view text, std::size_t most = 64);

/** No device counts further; sums of such numbers, and times of so many seconds, fit their types. */
constexpr double kLargestNumber = 1e15;

/** A decimal number from 0 to kLargestNumber, such as "12.5", with a "%" behind it or not. Nothing when the word is
 * anything else. */
std::optional<double> Number(std::string_view word);

/** A whole number of up to 64 bits. Nothing when the word is anything else. */
std::optional<std::uint64_t> Whole(std::string_view word);

/** A size such as "512", "1.5M" or "11.8G", in units of 1024 bytes when it has no letter. */
std::optional<double> Kibibytes(std::string_view word);

bool StartsWith(std::string_view text, std::string_view beginning);
bool Contains(std::string_view text, std::string_view part);

} // namespace DfsReport
