#include "ReadinessPoller.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <array>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

namespace
{
constexpr std::uint64_t kStopToken = std::numeric_limits<std::uint64_t>::max();
}

ReadinessPoller::ReadinessPoller(Notify notify)
    : CTask("CliPoller", false, NOT_REALTIME, -1),
      m_notify(std::move(notify)),
      m_epoll(::epoll_create1(EPOLL_CLOEXEC)),
      m_stop(::eventfd(0, EFD_CLOEXEC))
{
    if (!m_epoll || !m_stop || !Watch(m_stop, kStopToken, EPOLLIN)) {
        throw std::system_error(errno, std::generic_category(), "cannot watch descriptors");
    }
    Start();
}

ReadinessPoller::~ReadinessPoller()
{
    eventfd_write(m_stop.Get(), 1);
    Join();
}

bool ReadinessPoller::Watch(const FileDescriptor& descriptor, std::uint64_t token, std::uint32_t events) const
{
    epoll_event event{};
    event.events = events | EPOLLONESHOT;
    event.data.u64 = token;
    return ::epoll_ctl(m_epoll.Get(), EPOLL_CTL_MOD, descriptor.Get(), &event) == 0 ||
           (errno == ENOENT && ::epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, descriptor.Get(), &event) == 0);
}

void ReadinessPoller::ThreadBody()
{
    std::array<epoll_event, 16> events{};
    while (true) {
        const int count = ::epoll_wait(m_epoll.Get(), events.data(), static_cast<int>(events.size()), -1);
        for (int index = 0; index < count; ++index) {
            const epoll_event& event = events[static_cast<std::size_t>(index)];
            if (event.data.u64 == kStopToken) {
                return;
            }
            m_notify(event.data.u64, event.events);
        }
    }
}
