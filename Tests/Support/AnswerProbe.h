#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "Deadline.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/** A task that keeps what comes through its callback of these parameters, each time as an Arrival. */
template <class Arrival, class... Parameters>
class CallbackProbe : public APTask
{
public:
    CallbackProbe() : APTask("CallbackProbe", 0, CTask::NOT_REALTIME, -1) { Start(); }
    ~CallbackProbe() override { Stop(); }

    /** Waits for that many arrivals, and returns all there are. */
    std::vector<Arrival> WaitFor(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, kDeadline, [&] { return m_arrivals.size() >= count; });
        return m_arrivals;
    }

    /** Waits for the first arrival that this has not returned before. */
    Arrival Next()
    {
        ++m_taken;
        return WaitFor(m_taken).at(m_taken - 1);
    }

    AsyncCallback<Parameters...> callback{this, this, &CallbackProbe::Take};

private:
    void Take(const Parameters&... parameters)
    {
        const std::lock_guard lock(m_mutex);
        m_arrivals.push_back(Arrival{parameters...});
        m_arrived.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Arrival> m_arrivals;
    std::size_t m_taken = 0;
};

/** A text and a status code, as the service answers. */
using Answer = std::pair<std::string, int>;
using Answers = std::vector<Answer>;
using AnswerProbe = CallbackProbe<Answer, const std::string, int>;
