#include "Cloud.h"

#include <string>
#include <utility>

namespace Fleet
{
namespace
{
constexpr std::int64_t kPause = 600;
constexpr std::int32_t kServiceUnavailable = 503;
constexpr std::int32_t kTooManyRequests = 429;

Http::HSMResponse Answer(std::int32_t status, Http::HeaderMap headers = {})
{
    Http::HSMResponse response;
    response.status = status;
    response.headers = std::move(headers);
    return response;
}

Http::HSMResponse RateLimitUntil(std::int64_t reset)
{
    return Answer(kTooManyRequests, {{"X-Ratelimit-Remaining", "0"}, {"X-Ratelimit-Reset", std::to_string(reset)}});
}
} // namespace

Http::HSMResponse Unavailable(const Load& /*load*/)
{
    return Answer(kServiceUnavailable);
}

Http::HSMResponse RetryAfter(const Load& /*load*/)
{
    return Answer(kServiceUnavailable, {{"Retry-After", std::to_string(kPause)}});
}

Http::HSMResponse RetryAfterUnlimited(const Load& /*load*/)
{
    return Answer(kServiceUnavailable, {{"Retry-After", std::to_string(kPause)}, {"X-Retry-Count", "-1"}});
}

Http::HSMResponse Exponential(const Load& /*load*/)
{
    return Answer(kServiceUnavailable,
                  {{"Retry-After", "60"}, {"X-Retry-Count", "-1"}, {"X-Retry-Behavior", "exponential"}});
}

Http::HSMResponse BareRateLimit(const Load& load)
{
    return load.isDown ? RetryAfterUnlimited(load) : Answer(kTooManyRequests);
}

Http::HSMResponse SharedReset(const Load& load)
{
    return load.isDown ? RetryAfterUnlimited(load) : RateLimitUntil((load.now / kPause + 1) * kPause);
}

Http::HSMResponse ResetBySlot(const Load& load)
{
    return load.isDown ? RetryAfterUnlimited(load) : RateLimitUntil(load.nextFreeSecond);
}
} // namespace Fleet
