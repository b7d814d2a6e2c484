#pragma once

#include "IRunnable.h"

#include <memory>

namespace Http
{
/**
 * Runs each job on a fresh thread of its own. There is no pool and no limit: with 20 or more jobs at a time a warning
 * is logged.
 */
class AsyncTaskRunner
{
public:
    /** The process's only runner. It lives until the process ends. Thread-safe. */
    static AsyncTaskRunner& GetInstance();

    /**
     * Starts the job and returns at once; the runner shares the job until it has returned. The job itself
     * reports that it is done. A std::exception that leaves it is only logged, by its thread's base class.
     *
     * @throws std::system_error when the kernel has no thread to give; the job is then not run
     *
     * Thread-safe.
     */
    void Run(std::shared_ptr<Threads_Http::IRunnable> job);
};
} // namespace Http
