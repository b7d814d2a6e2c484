#pragma once

namespace Threads_Http
{
/** A job for a thread of its own. */
class IRunnable
{
public:
    virtual ~IRunnable() = default;

    /** Does the job; called once, on that thread. */
    virtual void Run() = 0;
};
} // namespace Threads_Http
