#include "Acceptor.h"

#include <cerrno>
#include <sys/socket.h>
#include <system_error>
#include <utility>

Acceptor::Acceptor(boost::asio::io_context& context, FileDescriptor listener, Serve serve, Report report)
    : m_listener(std::move(listener)),
      m_serve(std::move(serve)),
      m_report(std::move(report)),
      m_watch(context, m_listener),
      m_later(context)
{}

void Acceptor::Open()
{
    m_isOpen = true;
    m_watch.Await(DescriptorWatch::For::Reading, [this] { Accept(); });
}

void Acceptor::Close()
{
    m_isOpen = false;
    m_later.Cancel();
}

void Acceptor::Accept()
{
    if (!m_isOpen) {
        return;
    }
    FileDescriptor socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket && errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) {
        // Who waits keeps the listener ready: to watch it now would keep the loop busy.
        if (!std::exchange(m_isShort, true)) {
            m_report(std::generic_category().message(errno));
        }
        m_later.Set(Alarm::Clock::now() + std::chrono::seconds(1), [this] { Open(); });
        return;
    }
    Open();
    if (socket) {
        m_isShort = false;
        m_serve(std::move(socket));
    }
}
