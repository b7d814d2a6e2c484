#include "Lines.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace DfsReport
{

bool Lines::Next(Line& line)
{
    if (m_rest.empty()) {
        return false;
    }
    const std::size_t end = m_rest.find('\n');
    line = {m_rest.substr(0, end), m_next++};
    m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
    if (!line.text.empty() && line.text.back() == '\r') {
        line.text.remove_suffix(1);
    }
    return true;
}

std::vector<std::string_view> Words(std::string_view text, std::size_t most)
{
    std::vector<std::string_view> words;
    while (words.size() < most) {
        const std::size_t begin = text.find_first_not_of(" \t");
        if (begin == std::string_view::npos) {
            break;
        }
        text.remove_prefix(begin);
        const std::size_t end = text.find_first_of(" \t");
        words.push_back(text.substr(0, end));
        text.remove_prefix(words.back().size());
    }
    return words;
}

std::optional<double> Number(std::string_view word)
{
    if (!word.empty() && word.back() == '%') {
        word.remove_suffix(1);
    }
    // GCC 10 has std::from_chars for whole numbers only. strtod(3) reads signs, hexadecimals, exponents and names too.
    if (word.empty() || word.find_first_not_of(".0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    const std::string text(word);
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const bool isRead = end == text.c_str() + text.size() && number <= kLargestNumber;
    return isRead ? std::optional(number) : std::nullopt;
}

std::optional<std::uint64_t> Whole(std::string_view word)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<double> Kibibytes(std::string_view word)
{
    constexpr int kBitsOfAStep = 10;
    if (word.empty()) {
        return std::nullopt;
    }
    const char last = static_cast<char>(std::tolower(static_cast<unsigned char>(word.back())));
    const std::size_t steps = std::string_view("kmgt").find(last);
    if (steps == std::string_view::npos) {
        return Number(word);
    }
    const auto number = Number(word.substr(0, word.size() - 1));
    return number ? std::optional(std::ldexp(*number, kBitsOfAStep * static_cast<int>(steps))) : std::nullopt;
}

bool StartsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

bool Contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

} // namespace DfsReport
