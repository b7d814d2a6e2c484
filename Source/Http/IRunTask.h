#pragma once

#include "IRunnable.h"

namespace Http
{
/** A job that can be told to stop waiting. */
class IRunTask : public Threads_Http::IRunnable
{
public:
    /** Ends the job's wait between two attempts, the present one or the next. Thread-safe. */
    virtual void Cancel() = 0;
};
} // namespace Http
