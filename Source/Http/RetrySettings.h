#pragma once

#include <cstdint>
#include <vector>

namespace Http
{
/** What governs the retries of a request; the values here are the defaults. All times are in seconds. */
struct RetrySettings
{
    /** Wait before retry n when the server names no time. */
    std::vector<std::uint32_t> m_RetryBackoffSeconds;

    /** Statuses that allow a retry from the table; 0 stands for a failure without an HTTP answer. */
    std::vector<std::int32_t> m_RetryableStatuses;

    /** Whether the table's last value is repeated without limit once the table is used up. */
    bool m_RetryBackoffRepeat = false;

    /** Whether m_RetryableStatuses is not consulted. */
    bool m_RetryAnyStatus = false;

    /** Off: values of the table are used as they stand, without growth, randomness or cap. */
    bool m_HonourRetryBehavior = true;

    bool m_RetriesDisabled = false;

    /** The status by which a server says that too many requests were sent, and whether its headers are read. */
    std::int32_t m_RateLimitStatus = 429;
    bool m_HandleRateLimit = true;

    /** Wait when the server named a behaviour but no time. */
    std::uint32_t m_DefaultRetryValue = 15;

    /** Number of retries when neither the server nor the table says. */
    std::uint32_t m_RetryCountMax = 4;

    /** Cap on a wait, before randomness. */
    std::uint32_t m_MaximumSleep = 43200;

    /** The settings with the usual table and statuses filled in. */
    static RetrySettings WithBackoff()
    {
        RetrySettings settings;
        settings.m_RetryBackoffSeconds = {15, 60, 240, 960};
        settings.m_RetryableStatuses = {0, 502, 503, 504};
        return settings;
    }
};
} // namespace Http
