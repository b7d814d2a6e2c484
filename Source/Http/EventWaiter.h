#pragma once

#include <atomic>
#include <mutex>

namespace Http
{
/**
 * A sleep that another thread can end, once and for all: after Wake every Wait returns at once.
 *
 * One thread waits, any thread wakes; the object must outlive both calls.
 */
class EventWaiter
{
public:
    enum class Result
    {
        Error = 0,    ///< The wait could not be set up, or the poll failed.
        Woken = 1,    ///< Wake was called, before or during the wait.
        TimedOut = 2, ///< The time has passed.
    };

    EventWaiter() = default;
    EventWaiter(const EventWaiter&) = delete;
    EventWaiter& operator=(const EventWaiter&) = delete;
    ~EventWaiter();

    /** Sleeps for so many seconds, 0 or more; what poll(2) cannot count in milliseconds (24 days) is cut to that. */
    Result Wait(int timeoutSeconds);

    /** Ends the wait that is in progress, or marks the waiter so that the next Wait returns at once. */
    void Wake();

    void SetWakeCalled(bool wakeCalled);
    bool IsWakeCalled() const;
    void SetWaitInProgress(bool waitInProgress);
    bool IsWaitInProgress() const;

    /** For the owner, right after construction. */
    void ClearWakeCalled() { SetWakeCalled(false); }

private:
    int TakeDescriptor() noexcept { return m_eventDescriptor.exchange(-1); }
    void CloseDescriptor() noexcept;

    /** The event of the current wait as Wake sees it, -1 for none. Who exchanges it for -1 closes it. */
    std::atomic<int> m_eventDescriptor{-1};

    mutable std::mutex m_wakeCalledMutex;
    bool m_wakeCalled = false;

    mutable std::mutex m_waitInProgressMutex;
    bool m_waitInProgress = false;
};
} // namespace Http
