#include "Alarm.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <system_error>
#include <utility>

struct Alarm::State
{
    explicit State(boost::asio::io_context& context) : timer(context) {}

    boost::asio::steady_timer timer;
    std::function<void()> work;
    // Counts calls of Set and Cancel: an expiry that was queued before the latest one must do nothing.
    unsigned int number = 0;
};

std::shared_ptr<Alarm::State> Alarm::MakeState(boost::asio::io_context& context)
{
    try {
        // The first timer of a context opens its descriptors.
        return std::make_shared<State>(context);
    } catch (const boost::system::system_error& error) {
        throw std::system_error(error.code().value(), std::generic_category(), "cannot make an event loop");
    }
}

Alarm::Alarm(boost::asio::io_context& context) : m_state(MakeState(context)) {}

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
