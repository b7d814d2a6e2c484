#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace boost::asio
{
class io_context;
}

/** Runs work on an event loop at a set time. The loop must outlive it. Not thread-safe. */
class Alarm
{
public:
    using Clock = std::chrono::steady_clock;

    /** @throws std::system_error when the kernel has no descriptor to give */
    explicit Alarm(boost::asio::io_context& context);
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /** Runs the work once at that time, in place of what was set before. The work may destroy the alarm. */
    void Set(Clock::time_point when, std::function<void()> work);

    /** The work that was set will not run. */
    void Cancel();

private:
    struct State;
    static std::shared_ptr<State> MakeState(boost::asio::io_context& context);

    const std::shared_ptr<State> m_state;
};
