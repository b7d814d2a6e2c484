#pragma once

#include "BodyBound.h"
#include "RetrySettings.h"

#include <cstdint>

namespace Http
{
/** How operations are carried out; the values here are the defaults. */
struct HttpSettings
{
    RetrySettings retry;
    bool followRedirects = false;

    /** The fetcher's own retries, below the retry policy: see SimpleURLFetcher. */
    int fetcherRetryCount = 0;
    int fetcherRetryDelaySeconds = 0;

    /** Limit on one exchange, from looking up the host to the last byte of the answer. */
    std::uint32_t timeOutSeconds = 30;

    BodyBound bodyBound;
};
} // namespace Http
