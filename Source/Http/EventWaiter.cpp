#include "EventWaiter.h"

#include "HttpLog.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace Http
{
namespace
{
const DPrint s_log("EventWaiter");

int ToMilliseconds(int seconds)
{
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{seconds} * 1000, 0, std::numeric_limits<int>::max()));
}
} // namespace

EventWaiter::~EventWaiter()
{
    CloseDescriptor();
}

EventWaiter::Result EventWaiter::Wait(int timeoutSeconds)
{
    if (IsWakeCalled()) {
        LogLine(s_log, 6, __func__, "Wake was called before entering poll");
        return Result::Woken;
    }

    // Wake closes the descriptor that it wrote to, maybe before this thread has come to poll, and the kernel may give
    // its number away at once. So the poll has a descriptor of its own for the same event.
    const int event = eventfd(0, EFD_CLOEXEC);
    const int polled = event < 0 ? -1 : fcntl(event, F_DUPFD_CLOEXEC, 0);
    if (polled < 0) {
        if (event >= 0) {
            close(event);
        }
        LogLine(s_log, 0, __func__, "Failed to create a valid eventfd");
        return Result::Error;
    }
    m_eventDescriptor = event;
    SetWaitInProgress(true);

    // A Wake since the first look saw no wait in progress and has left the event alone.
    if (IsWakeCalled()) {
        SetWaitInProgress(false);
        CloseDescriptor();
        close(polled);
        LogLine(s_log, 6, __func__, "Wake was called before entering poll");
        return Result::Woken;
    }

    pollfd entry{polled, POLLIN, 0};
    const int result = poll(&entry, 1, ToMilliseconds(timeoutSeconds));
    SetWaitInProgress(false);
    close(polled);

    if (result > 0 && (entry.revents & POLLIN) != 0) {
        LogLine(s_log, 6, __func__, "Wake was called before timeout was reached");
        return Result::Woken;
    }
    CloseDescriptor();
    if (result < 0) {
        LogLine(s_log, 0, __func__, "Poll returned a error:", result);
        return Result::Error;
    }
    if (result == 0) {
        LogLine(s_log, 6, __func__, "Timeout reached");
        return Result::TimedOut;
    }
    return Result::Error;
}

void EventWaiter::Wake()
{
    LogLine(s_log, 6, __func__, "Wake was called");
    SetWakeCalled(true);
    if (!IsWaitInProgress()) {
        LogLine(s_log, 6, __func__, "Wait not called yet and eventfd not created so write is not needed");
        return;
    }
    const int event = TakeDescriptor();
    if (event < 0) {
        LogLine(s_log, 1, __func__, "Invalid file descriptor provided");
        return;
    }
    const std::uint64_t one = 1;
    if (write(event, &one, sizeof one) != sizeof one) {
        LogLine(s_log, 0, __func__, "Failed to write to file descriptor, ", std::generic_category().message(errno));
    }
    close(event);
}

void EventWaiter::CloseDescriptor() noexcept
{
    const int event = TakeDescriptor();
    if (event >= 0) {
        close(event);
    }
}

void EventWaiter::SetWakeCalled(bool wakeCalled)
{
    const std::lock_guard lock(m_wakeCalledMutex);
    m_wakeCalled = wakeCalled;
}

bool EventWaiter::IsWakeCalled() const
{
    const std::lock_guard lock(m_wakeCalledMutex);
    return m_wakeCalled;
}

void EventWaiter::SetWaitInProgress(bool waitInProgress)
{
    const std::lock_guard lock(m_waitInProgressMutex);
    m_waitInProgress = waitInProgress;
}

bool EventWaiter::IsWaitInProgress() const
{
    const std::lock_guard lock(m_waitInProgressMutex);
    return m_waitInProgress;
}
} // namespace Http
