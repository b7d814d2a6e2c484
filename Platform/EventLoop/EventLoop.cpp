#include "EventLoop.h"

#include "TaskQueue.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include <mutex>
#include <utility>

namespace asio = boost::asio;

namespace
{
constexpr int kThreads = 1;
}

// Callbacks that outlive the loop keep its inbox.
class EventLoop::Inbox final : public TaskQueueIF
{
public:
    explicit Inbox(asio::io_context& context) : m_context(&context) {}

    void Push(std::unique_ptr<TaskMessage> message) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_context != nullptr) {
            asio::post(*m_context, [message = std::move(message)] { message->Run(); });
        }
    }

    void Close()
    {
        const std::lock_guard lock(m_mutex);
        m_context = nullptr;
    }

private:
    std::mutex m_mutex;
    asio::io_context* m_context;
};

EventLoop::EventLoop()
    : m_context(std::make_unique<asio::io_context>(kThreads)), m_inbox(std::make_shared<Inbox>(*m_context))
{}

EventLoop::~EventLoop()
{
    Stop();
}

void EventLoop::Run()
{
    const auto guard = asio::make_work_guard(*m_context);
    m_context->run();
}

void EventLoop::Stop()
{
    m_inbox->Close();
    m_context->stop();
}

std::shared_ptr<TaskQueueIF> EventLoop::Queue() const
{
    return m_inbox;
}
