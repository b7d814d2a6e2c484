#include "EventLoop.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <system_error>
#include <utility>

namespace asio = boost::asio;

namespace Gatrix
{
namespace
{
std::unique_ptr<asio::io_context> MakeContext()
{
    try {
        constexpr int kThreads = 1;
        auto context = std::make_unique<asio::io_context>(kThreads);
        // The first timer, not the context, opens the descriptors.
        const asio::steady_timer timer(*context);
        return context;
    } catch (const boost::system::system_error& error) {
        throw std::system_error(error.code().value(), std::generic_category(), "cannot make an event loop");
    }
}
} // namespace

EventLoop::EventLoop() : m_context(MakeContext()) {}

EventLoop::~EventLoop() = default;

void EventLoop::Run()
{
    const auto guard = asio::make_work_guard(*m_context);
    m_context->run();
}

void EventLoop::Stop()
{
    m_context->stop();
}

void EventLoop::Post(std::function<void()> work)
{
    asio::post(*m_context, std::move(work));
}

struct Alarm::State
{
    explicit State(asio::io_context& context) : timer(context) {}

    asio::steady_timer timer;
    std::function<void()> work;
    /** Counts calls of Set and Cancel: an expiry that was queued before the latest one must do nothing. */
    unsigned int number = 0;
};

Alarm::Alarm(EventLoop& loop) : m_state(std::make_shared<State>(loop.Context())) {}

Alarm::~Alarm()
{
    Cancel();
}

void Alarm::Set(Clock::time_point when, std::function<void()> work)
{
    m_state->work = std::move(work);
    m_state->timer.expires_at(when);
    m_state->timer.async_wait(
        [state = m_state, number = ++m_state->number](const boost::system::error_code& /*the number tells*/) {
            if (number == state->number) {
                const auto due = std::exchange(state->work, nullptr);
                due();
            }
        });
}

void Alarm::Cancel()
{
    ++m_state->number;
    m_state->work = nullptr;
    m_state->timer.cancel();
}
} // namespace Gatrix
