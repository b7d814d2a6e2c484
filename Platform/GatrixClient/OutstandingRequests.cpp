#include "OutstandingRequests.h"

#include <utility>

namespace Gatrix
{
void OutstandingRequests::Add(std::uint64_t id, OutstandingRequest request, Time now)
{
    const Time deadline = m_limit.count() > 0 ? now + m_limit : Time::max();
    m_waiting.emplace(id, Waiting{std::move(request), deadline});
}

std::optional<OutstandingRequest> OutstandingRequests::Take(std::uint64_t id)
{
    const auto waiting = m_waiting.extract(id);
    return waiting ? std::optional(std::move(waiting.mapped().request)) : std::nullopt;
}

std::optional<OutstandingRequests::Time> OutstandingRequests::NextDeadline() const
{
    const auto first = m_waiting.begin();
    return first == m_waiting.end() || first->second.deadline == Time::max() ? std::nullopt
                                                                             : std::optional(first->second.deadline);
}

std::optional<OutstandingRequest> OutstandingRequests::TakeExpired(Time now)
{
    const auto first = m_waiting.begin();
    return first != m_waiting.end() && first->second.deadline <= now ? Take(first->first) : std::nullopt;
}
} // namespace Gatrix
