#pragma once

namespace DiagSeal
{

/**
 * Lets this process, while the object lives, run before all that have no real-time priority, see sched(7): a flood of
 * processes leaves little time to what is to end it. Without effect where that is not allowed: as in the service's
 * unit, and for an ordinary account. There the kernel itself bounds the number of processes. Not thread-safe.
 */
class Precedence
{
public:
    Precedence();
    ~Precedence();
    Precedence(const Precedence&) = delete;
    Precedence& operator=(const Precedence&) = delete;

private:
    const int m_policy;
    const bool m_isTaken;
};

} // namespace DiagSeal
