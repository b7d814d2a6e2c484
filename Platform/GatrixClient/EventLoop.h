#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace boost::asio
{
class io_context;
}

namespace Gatrix
{
/**
 * Runs what is posted to it and what sockets and alarms bring, one after another, on the thread that calls Run. That
 * thread sleeps in the kernel while there is nothing to do.
 */
class EventLoop
{
public:
    /** @throws std::system_error when the kernel has no descriptor to give */
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /** Returns after Stop. What work throws leaves here, and the next call goes on behind that work. */
    void Run();

    /** Any thread: lets Run return; what still waits is dropped with the loop. */
    void Stop();

    /** Any thread. Work runs in the order in which it was posted. */
    void Post(std::function<void()> work);

    boost::asio::io_context& Context() noexcept { return *m_context; }

private:
    const std::unique_ptr<boost::asio::io_context> m_context;
};

/** Runs work of its loop at a time. For the loop's thread alone; the loop must outlive it. */
class Alarm
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Alarm(EventLoop& loop);
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /** Runs the work once at that time, in place of what was set before. The work may destroy the alarm. */
    void Set(Clock::time_point when, std::function<void()> work);

    /** The work that was set will not run. */
    void Cancel();

private:
    struct State;
    const std::shared_ptr<State> m_state;
};
} // namespace Gatrix
