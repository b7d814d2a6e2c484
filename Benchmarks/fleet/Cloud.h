#pragma once

#include "HSMResponse.h"

#include <cstdint>

namespace Fleet
{
/** What a cloud knows of its load when it refuses a request. */
struct Load
{
    /** Seconds since the epoch. */
    std::int64_t now = 0;

    bool isDown = false;

    /** When the next upload could be served if each request that is refused got a place of its own in the queue. */
    std::int64_t nextFreeSecond = 0;
};

/** How a cloud answers what it does not serve. */
struct Scenario
{
    /** For the table and the chart: what the cloud answers. */
    const char* title;

    /** The answer to one request that is not served. */
    Http::HSMResponse (*refuse)(const Load& load);

    /** Whether each device has a seed of its own. If not, all draw the same numbers, as rand(3) does without srand(3).
     */
    bool isSeeded = true;
};

/** An answer without a word on when to come back. */
Http::HSMResponse Unavailable(const Load& load);

/** While down, to come back in ten minutes, as often as it takes; then a rate limit without a header. */
Http::HSMResponse BareRateLimit(const Load& load);

/** "Retry-After" only: the number of retries stays the table's. */
Http::HSMResponse RetryAfter(const Load& load);

/** "Retry-After" with "X-Retry-Count: -1". */
Http::HSMResponse RetryAfterUnlimited(const Load& load);

/** A short "Retry-After" that doubles with each retry, without limit: "X-Retry-Behavior: exponential". */
Http::HSMResponse Exponential(const Load& load);

/** Once up, the same "X-Ratelimit-Reset" for all: the next full ten minutes. */
Http::HSMResponse SharedReset(const Load& load);

/** Once up, "X-Ratelimit-Reset" names for each request the next second that has room. */
Http::HSMResponse ResetBySlot(const Load& load);
} // namespace Fleet
