#include "Precedence.h"

#include <sched.h>

namespace DiagSeal
{

namespace
{

bool Set(int policy, int priority)
{
    const sched_param parameters = {priority};
    return sched_setscheduler(0, policy, &parameters) == 0;
}

} // namespace

Precedence::Precedence() : m_policy(sched_getscheduler(0)), m_isTaken(m_policy != SCHED_FIFO && Set(SCHED_FIFO, 1)) {}

Precedence::~Precedence()
{
    if (m_isTaken) {
        Set(m_policy, 0);
    }
}

} // namespace DiagSeal
