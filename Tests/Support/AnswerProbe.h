#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "Deadline.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

/** A task on which things arrive that a test waits for. What derives from it calls Start last in its constructor, and
 * Stop in its destructor. */
template <class Arrival>
class ArrivalProbe : public APTask
{
public:
    ArrivalProbe() : APTask("ArrivalProbe", 0, CTask::NOT_REALTIME, -1) {}

    /** Waits for the next arrival and takes it. @throws std::out_of_range when none comes */
    Arrival Next()
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, kDeadline, [this] { return !m_arrivals.empty(); });
        Arrival next = std::move(m_arrivals.at(0));
        m_arrivals.pop_front();
        return next;
    }

protected:
    void Keep(Arrival arrival)
    {
        const std::lock_guard lock(m_mutex);
        m_arrivals.push_back(std::move(arrival));
        m_arrived.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::deque<Arrival> m_arrivals;
};

/** What comes through its callback of these parameters, each time as an Arrival. */
template <class Arrival, class... Parameters>
class CallbackProbe : public ArrivalProbe<Arrival>
{
public:
    CallbackProbe() { this->Start(); }
    ~CallbackProbe() override { this->Stop(); }

    AsyncCallback<Parameters...> callback{this, this, &CallbackProbe::Take};

private:
    void Take(const Parameters&... parameters) { this->Keep(Arrival{parameters...}); }
};

/** A text and a status code, as the service answers. */
using Answer = std::pair<std::string, int>;
using AnswerProbe = CallbackProbe<Answer, const std::string, int>;
