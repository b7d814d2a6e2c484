#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "Deadline.h"
#include "Gateway.h"

/** What a gateway has printed. */
class TestLog
{
public:
    LineWriter Writer()
    {
        return [this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_text += line + "\n";
            m_added.notify_all();
        };
    }

    /** Waits until a line holds the text. */
    bool WaitFor(const std::string& text)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_added.wait_for(lock, kDeadline, [&] { return m_text.find(text) != std::string::npos; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_added;
    std::string m_text;
};

/** A gateway on a free port. */
class TestGateway : public TestLog, public GatrixGateway::Gateway
{
public:
    explicit TestGateway(const GatrixGateway::ConnectionLimits& limits = {})
        : Gateway({0, TestLog::Writer(), false, limits})
    {}
};
