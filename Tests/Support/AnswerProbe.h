#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "Deadline.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/** A task that keeps the answers which come through its callback. */
class AnswerProbe : public APTask
{
public:
    using Answer = std::pair<std::string, int>;

    AnswerProbe()
        : APTask("AnswerProbe", 0, CTask::NOT_REALTIME, -1),
          callback(this, this, &AnswerProbe::Take),
          reply(this, this, &AnswerProbe::Take)
    {
        Start();
    }
    ~AnswerProbe() override { Stop(); }

    /** Waits for that many answers, and returns all there are. */
    std::vector<Answer> WaitFor(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, kDeadline, [&] { return m_answers.size() >= count; });
        return m_answers;
    }

    AsyncCallback<const std::string, int> callback;
    /** The same, as the command line's library declares it. */
    AsyncCallback<std::string, int> reply;

private:
    void Take(const std::string& text, int code)
    {
        const std::lock_guard lock(m_mutex);
        m_answers.emplace_back(text, code);
        m_arrived.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<Answer> m_answers;
};
