#pragma once

#include "Cloud.h"

#include <cstdint>
#include <vector>

namespace Fleet
{
/** What happens: all devices begin an upload within a short time, to a cloud that is down at first and then too small.
 */
struct Setting
{
    std::uint32_t devices = 100'000;

    /** Seconds within which all uploads begin. */
    std::uint32_t spread = 60;

    /** Seconds from the beginning until the cloud is up. */
    std::uint32_t outage = 3600;

    /** Requests that the cloud serves in a second. */
    std::uint32_t capacity = 200;

    /** Seconds that are looked at. */
    std::uint32_t length = 24 * 3600;
};

/** What became of the uploads. */
struct Outcome
{
    /** Requests that reached the cloud, by second. */
    std::vector<std::uint32_t> arrivals;

    /** Uploads whose two requests were served, and those that gave up. What is missing to all still waits. */
    std::uint32_t uploaded = 0;
    std::uint32_t gaveUp = 0;

    /** The second of the last upload that came through; 0 if there was none. */
    std::uint32_t lastUpload = 0;

    /** The largest number of arrivals in a second, from the end of the outage on. */
    std::uint32_t PeakOnceUp(const Setting& setting) const;

    /** All requests. */
    std::uint64_t Requests() const;
};

/**
 * Plays the scenario on a virtual clock. Each device decides by the policy that the service uses, with the service's
 * settings: first for its metadata, then for its archive. The same arguments give the same outcome. Blocks.
 */
Outcome Simulate(const Setting& setting, const Scenario& scenario);
} // namespace Fleet
