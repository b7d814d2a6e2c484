#include "TokenTimes.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>

namespace JwtUtils
{
namespace
{
using std::chrono::duration_cast;
using std::chrono::seconds;

constexpr std::int64_t kFirstSecond = duration_cast<seconds>(TimePoint::min().time_since_epoch()).count();
constexpr std::int64_t kLastSecond = duration_cast<seconds>(TimePoint::max().time_since_epoch()).count();

// end - start, for an end that is later: more than a signed number may hold.
std::uint64_t Distance(std::int64_t start, std::int64_t end)
{
    return static_cast<std::uint64_t>(end) - static_cast<std::uint64_t>(start);
}

std::uint32_t LessMargin(std::uint64_t distance)
{
    const auto remaining = static_cast<std::uint32_t>(distance);
    return remaining <= kRefreshMargin ? 0 : remaining - kRefreshMargin;
}
} // namespace

std::int64_t ToSeconds(TimePoint time)
{
    return duration_cast<seconds>(time.time_since_epoch()).count();
}

TimePoint FromSeconds(std::int64_t count)
{
    return TimePoint(seconds(std::clamp(count, kFirstSecond, kLastSecond)));
}

TimePoint Later(TimePoint time, std::uint32_t count)
{
    return FromSeconds(ToSeconds(time) + count);
}

std::int64_t ParseSeconds(const std::string& text)
{
    return std::stoll(text);
}

TimePoint ParseTime(const std::string& text)
{
    const std::int64_t count = ParseSeconds(text);
    if (count < kFirstSecond || count > kLastSecond) {
        throw std::out_of_range("the clock has no time " + std::to_string(count));
    }
    return TimePoint(seconds(count));
}

std::uint32_t RefreshDelay(TimePoint expiration, TimePoint now)
{
    if (now >= expiration) {
        return 0;
    }
    constexpr std::uint64_t kNanosecondsInSecond = 1000000000;
    const std::uint64_t remaining =
        Distance(now.time_since_epoch().count(), expiration.time_since_epoch().count()) / kNanosecondsInSecond;
    return LessMargin(remaining);
}

std::uint32_t RefreshDelay(std::int64_t expirationSeconds, std::int64_t nowSeconds)
{
    return nowSeconds >= expirationSeconds ? 0 : LessMargin(Distance(nowSeconds, expirationSeconds));
}

std::string DateText(std::int64_t count)
{
    // time_t has 32 bits on the product: it ends in the year 2038.
    const auto time = static_cast<std::time_t>(count);
    char text[32];
    return time == count && ctime_r(&time, text) != nullptr ? text : std::to_string(count);
}
} // namespace JwtUtils
