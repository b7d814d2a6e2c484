#pragma once

#include "NotifyTargetTaskIF.h"

#include <memory>

namespace boost::asio
{
class io_context;
}

/**
 * Runs posted work, and what its alarms and descriptors bring, one after another on the thread that calls Run. That
 * thread sleeps in the kernel while there is nothing to do. Callbacks may be bound to the loop as to a task.
 */
class EventLoop : public NotifyTargetTaskIF
{
public:
    EventLoop();
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /** Returns after Stop. What a handler throws leaves here; the next call goes on with the handler after it. */
    void Run();

    /**
     * Lets Run return. Work that still waits is dropped with the loop, work that is posted later at once. Thread-safe.
     */
    void Stop();

    std::shared_ptr<TaskQueueIF> Queue() const override;

    boost::asio::io_context& Context() noexcept { return *m_context; }

private:
    class Inbox;

    const std::unique_ptr<boost::asio::io_context> m_context;
    const std::shared_ptr<Inbox> m_inbox;
};
