#include "Simulation.h"

#include "RetryPolicy.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <utility>

namespace Fleet
{
namespace
{
// Any time within the range of the header's number: 2026-11-22.
constexpr std::int64_t kEpoch = 1'795'305'600;

// An upload is two requests, each with retries of its own.
enum class Step
{
    Metadata,
    Archive,
};

// minstd_rand has the range of the C library's rand(3), and a state of one word.
using Chance = std::minstd_rand;
static_assert(Chance::max() <= RAND_MAX);

class Device
{
public:
    explicit Device(std::uint32_t seed) : m_chance(seed), m_policy(Policy()) {}

    Step At() const noexcept { return m_step; }

    void BeginArchive()
    {
        m_step = Step::Archive;
        m_policy = Policy();
    }

    Http::RetryDecision Refused(const Http::HSMResponse& answer, std::int64_t now)
    {
        return m_policy->Decide(answer, now);
    }

private:
    std::unique_ptr<Http::RetryPolicy> Policy()
    {
        return std::make_unique<Http::RetryPolicy>(Http::RetrySettings::WithBackoff(),
                                                   [this] { return static_cast<int>(m_chance()); });
    }

    Chance m_chance;
    Step m_step = Step::Metadata;
    std::unique_ptr<Http::RetryPolicy> m_policy;
};

// The devices whose next request is due, by second.
class Calendar
{
public:
    explicit Calendar(std::uint32_t length) : m_due(length) {}

    // What lies beyond the end is forgotten.
    void Add(std::uint64_t second, std::uint32_t device)
    {
        if (second < m_due.size()) {
            m_due[second].push_back(device);
        }
    }

    std::vector<std::uint32_t> Take(std::uint32_t second) { return std::move(m_due[second]); }

private:
    std::vector<std::vector<std::uint32_t>> m_due;
};

// Gives each request that is refused a place in a queue. An upload takes two requests, hence half of the capacity.
class Slots
{
public:
    explicit Slots(std::uint32_t capacity) : m_uploadsPerSecond(std::max(1U, capacity / 2)) {}

    std::int64_t Next(std::int64_t now)
    {
        if (m_second <= now) {
            m_second = now + 1;
            m_taken = 0;
        } else if (m_taken == m_uploadsPerSecond) {
            ++m_second;
            m_taken = 0;
        }
        ++m_taken;
        return m_second;
    }

private:
    const std::uint32_t m_uploadsPerSecond;
    std::int64_t m_second = 0;
    std::uint32_t m_taken = 0;
};
} // namespace

std::uint32_t Outcome::PeakOnceUp(const Setting& setting) const
{
    return setting.outage < arrivals.size() ? *std::max_element(arrivals.begin() + setting.outage, arrivals.end()) : 0;
}

std::uint64_t Outcome::Requests() const
{
    return std::accumulate(arrivals.begin(), arrivals.end(), std::uint64_t{0});
}

Outcome Simulate(const Setting& setting, const Scenario& scenario)
{
    std::mt19937 order(1);
    std::vector<std::unique_ptr<Device>> devices;
    devices.reserve(setting.devices);
    Calendar calendar(setting.length);
    for (std::uint32_t number = 0; number < setting.devices; ++number) {
        devices.push_back(std::make_unique<Device>(scenario.isSeeded ? order() : 1));
        calendar.Add(order() % setting.spread, number);
    }

    Outcome outcome;
    Slots slots(setting.capacity);
    for (std::uint32_t second = 0; second < setting.length; ++second) {
        std::vector<std::uint32_t> due = calendar.Take(second);
        outcome.arrivals.push_back(static_cast<std::uint32_t>(due.size()));
        std::shuffle(due.begin(), due.end(), order);

        const bool isDown = second < setting.outage;
        std::uint32_t served = 0;
        for (const std::uint32_t number : due) {
            Device& device = *devices[number];
            if (!isDown && served < setting.capacity) {
                ++served;
                if (device.At() == Step::Metadata) {
                    device.BeginArchive();
                    calendar.Add(second + 1, number);
                } else {
                    ++outcome.uploaded;
                    outcome.lastUpload = second;
                }
                continue;
            }
            const std::int64_t now = kEpoch + second;
            const Load load{now, isDown, isDown ? 0 : slots.Next(now)};
            const Http::RetryDecision decision = device.Refused(scenario.refuse(load), now);
            if (decision.action == Http::RetryDecision::Action::Retry) {
                calendar.Add(std::uint64_t{second} + decision.seconds, number);
            } else {
                ++outcome.gaveUp;
            }
        }
    }
    return outcome;
}
} // namespace Fleet
