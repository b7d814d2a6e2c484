#pragma once

#include <cstdint>

#include "AsyncCallback.h"
#include "CTask.h"
#include "FileDescriptor.h"

/**
 * Tells a task when descriptors are ready: a thread that sleeps in epoll_wait(2), without a time-out, on behalf of the
 * task that reads and writes them.
 *
 * Each Watch brings at most one notification, so that a descriptor which nobody attends to cannot flood the task.
 * A closed descriptor is forgotten by itself; a notification may still be on its way then, hence the tokens.
 */
class ReadinessPoller : private CTask
{
public:
    /** Receives the token and the epoll events (EPOLLIN, EPOLLOUT, EPOLLHUP, ...). */
    using Notify = AsyncCallback<std::uint64_t, std::uint32_t>;

    /** Starts the thread. @throws std::system_error when the kernel has no descriptor or thread to give. */
    explicit ReadinessPoller(Notify notify);

    /** Ends the thread. */
    ~ReadinessPoller() override;

    /**
     * Any thread: has the next of these events told, once. Watched again, a descriptor keeps its latest events.
     * False, with errno set, when the kernel does not take the descriptor.
     */
    bool Watch(const FileDescriptor& descriptor, std::uint64_t token, std::uint32_t events) const;

private:
    void ThreadBody() override;

    const Notify m_notify;
    const FileDescriptor m_epoll;
    const FileDescriptor m_stop;
};
