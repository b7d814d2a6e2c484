#include "Clock.h"

#include "Lines.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace DfsReport::Clock
{

namespace
{

constexpr int kFirstYear = 1900;

struct Fields
{
    std::uint64_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};

std::optional<Seconds> ToSeconds(const Fields& fields)
{
    if (fields.year < 1 || fields.year > 9999 || fields.month < 1 || fields.month > 12 || fields.day < 1 ||
        fields.day > 31 || fields.hour > 23 || fields.minute > 59 || fields.second > 60) {
        return std::nullopt;
    }
    std::tm time{};
    time.tm_year = static_cast<int>(fields.year) - kFirstYear;
    time.tm_mon = static_cast<int>(fields.month) - 1;
    time.tm_mday = static_cast<int>(fields.day);
    time.tm_hour = static_cast<int>(fields.hour);
    time.tm_min = static_cast<int>(fields.minute);
    time.tm_sec = static_cast<int>(fields.second);
    const std::time_t seconds = timegm(&time);
    // timegm(3) takes February 30 for a day of March.
    return time.tm_mon + 1 == static_cast<int>(fields.month) ? std::optional<Seconds>(seconds) : std::nullopt;
}

// 1 to 12; 0 for what is no month.
std::uint64_t Month(std::string_view name)
{
    constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto* const found = std::find(kMonths.begin(), kMonths.end(), name);
    return found == kMonths.end() ? 0 : static_cast<std::uint64_t>(found - kMonths.begin()) + 1;
}

// "22:14:03".
bool ReadTime(std::string_view text, Fields& fields)
{
    if (text.size() < 8 || text[2] != ':' || text[5] != ':') {
        return false;
    }
    const auto hour = Whole(text.substr(0, 2)), minute = Whole(text.substr(3, 2)), second = Whole(text.substr(6, 2));
    fields.hour = hour.value_or(99);
    fields.minute = minute.value_or(99);
    fields.second = second.value_or(99);
    return hour && minute && second;
}

// The seconds that a zone such as "Z", "+0100" or "-01:00" is ahead; 0 for anything else.
Seconds Zone(std::string_view text)
{
    if (text.size() < 5 || (text[0] != '+' && text[0] != '-')) {
        return 0;
    }
    const auto hours = Whole(text.substr(1, 2)), minutes = Whole(text.substr(text[3] == ':' ? 4 : 3, 2));
    if (!hours || !minutes) {
        return 0;
    }
    const auto ahead = static_cast<Seconds>((*hours * 60 + *minutes) * 60);
    return text[0] == '-' ? -ahead : ahead;
}

} // namespace

std::optional<Seconds> FromIso(std::string_view text)
{
    constexpr std::size_t kLength = 19;
    if (text.size() < kLength || text[4] != '-' || text[7] != '-' || (text[10] != 'T' && text[10] != ' ')) {
        return std::nullopt;
    }
    const auto year = Whole(text.substr(0, 4)), month = Whole(text.substr(5, 2)), day = Whole(text.substr(8, 2));
    Fields fields{year.value_or(0), month.value_or(0), day.value_or(0)};
    if (!ReadTime(text.substr(11, 8), fields)) {
        return std::nullopt;
    }
    text.remove_prefix(kLength);
    if (!text.empty() && (text[0] == '.' || text[0] == ',')) {
        text.remove_prefix(std::min(text.find_first_not_of("0123456789", 1), text.size()));
    }
    const auto time = ToSeconds(fields);
    return time ? std::optional(*time - Zone(text)) : std::nullopt;
}

std::optional<Seconds> FromLog(std::string_view text, Seconds collected)
{
    constexpr std::size_t kLength = 15;
    if (text.size() < kLength || text[3] != ' ') {
        return std::nullopt;
    }
    const auto day = Whole(text.substr(text[4] == ' ' ? 5 : 4, text[4] == ' ' ? 1 : 2));
    const std::time_t now = collected;
    std::tm today{};
    gmtime_r(&now, &today);
    Fields fields{static_cast<std::uint64_t>(today.tm_year + kFirstYear), Month(text.substr(0, 3)), day.value_or(0)};
    if (!ReadTime(text.substr(7, 8), fields)) {
        return std::nullopt;
    }
    auto time = ToSeconds(fields);
    if (time && *time > collected + kDay) {
        --fields.year;
        time = ToSeconds(fields);
    }
    return time;
}

std::optional<Seconds> FromDate(std::string_view text)
{
    const auto words = Words(text, 7);
    if (words.size() != 6) {
        return std::nullopt;
    }
    Fields fields{Whole(words[5]).value_or(0), Month(words[1]), Whole(words[2]).value_or(0)};
    return ReadTime(words[3], fields) ? ToSeconds(fields) : std::nullopt;
}

std::optional<Seconds> FromFileName(std::string_view name)
{
    constexpr std::size_t kDigits = 14;
    const std::size_t begin = name.rfind('_') + 1;
    const std::string_view digits = name.substr(begin, name.find('.', begin) - begin);
    if (digits.size() != kDigits || !Whole(digits)) {
        return std::nullopt;
    }
    const auto part = [&digits](std::size_t at, std::size_t size = 2) { return *Whole(digits.substr(at, size)); };
    return ToSeconds({part(0, 4), part(4), part(6), part(8), part(10), part(12)});
}

std::string Text(Seconds time)
{
    const std::time_t seconds = time;
    std::tm fields{};
    if (gmtime_r(&seconds, &fields) == nullptr || fields.tm_year + kFirstYear < 1 ||
        fields.tm_year + kFirstYear > 9999) {
        return "an impossible time";
    }
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &fields)};
}

std::string Duration(Seconds time)
{
    if (time >= kDay) {
        return std::to_string(time / kDay) + (time / kDay == 1 ? " day " : " days ") +
               std::to_string(time % kDay / kHour) + " h";
    }
    if (time >= kHour) {
        return std::to_string(time / kHour) + " h " + std::to_string(time % kHour / kMinute) + " min";
    }
    return time >= kMinute ? std::to_string(time / kMinute) + " min" : std::to_string(time) + " s";
}

} // namespace DfsReport::Clock
