#include "Supervisor.h"

#include "BlockedSignals.h"
#include "Child.h"
#include "DescriptorMessage.h"
#include "ErrorText.h"
#include "GroupLock.h"
#include "Precedence.h"
#include "ProcessTree.h"
#include "ToolBounds.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kReadSize = 65536;
// What a pipe holds at most unless root has raised the limit, see pipe(7).
constexpr std::size_t kMostLeftInPipe = 1U << 20U;
constexpr std::chrono::milliseconds kCountEvery(250);
constexpr std::chrono::milliseconds kLookEvery(50);
constexpr std::chrono::seconds kKillLimit(4);

// Of the whole system, and threads as well: it costs less than a look at each of the command's. See sysinfo(2).
int AllProcesses()
{
    struct sysinfo system = {};
    sysinfo(&system);
    return system.procs;
}

// One run, from the start of the child until nothing is left of it.
class Watch
{
public:
    Watch(const SupervisorLimits& limits, const Supervisor::Steps& steps) : m_limits(limits), m_steps(steps) {}

    Outcome Run(const Supervisor::Task& task)
    {
        if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
            throw std::runtime_error("no sub-reaper: " + ErrorText());
        }
        sigset_t signals = BlockSignals();
        sigaddset(&signals, ToolBounds::kSignal);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        m_signals.Reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
        if (m_signals.Get() < 0) {
            throw std::runtime_error("no signalfd: " + ErrorText());
        }
        StartChild(task, m_child);
        try {
            m_steps.prepare();
            m_groups.Own(ReceiveDescriptor(m_child.gate.Get()));
            Enter(Phase::Running, m_limits.timeLimit);
            const ssize_t ignored = write(m_child.gate.Get(), "", 1);
            static_cast<void>(ignored);
            m_child.gate.Close();
            m_steps.meanwhile();
            while (m_phase != Phase::Over) {
                Supervise();
                ReadOutput();
            }
            for (std::size_t size = 0, got = 0; size < kMostLeftInPipe && (got = ReadOutput()) > 0; size += got) {
            }
        } catch (...) {
            KillAll();
            throw;
        }
        if (m_interruption != 0) {
            throw std::runtime_error("ended by signal " + std::to_string(m_interruption));
        }
        ReadFailure();
        return m_outcome;
    }

private:
    enum class Phase
    {
        Running,
        LeftBehind, ///< The child has ended; its descendants may still print.
        Ending,     ///< TERM is sent.
        Over,
    };

    void Enter(Phase phase, std::chrono::milliseconds time)
    {
        m_phase = phase;
        m_phaseEnd = Clock::now() + time;
    }

    // Waits, and acts on what has happened. Not on output, which takes its time.
    void Supervise()
    {
        const Precedence precedence;
        Wait();
        ReadSignals();
        Reap();
        Advance();
    }

    void Wait()
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_phaseEnd - Clock::now());
        const auto time = std::clamp<std::chrono::milliseconds>(left, std::chrono::milliseconds(0), kLookEvery);
        // A pipe at its end would be ready for ever. It is closed then, and poll(2) passes over a negative descriptor.
        std::array<pollfd, 3> descriptors = {
            {{m_signals.Get(), POLLIN, 0}, {m_child.output.Get(), POLLIN, 0}, {m_groups.Waiting(), POLLIN, 0}}};
        poll(descriptors.data(), descriptors.size(), static_cast<int>(time.count()));
        m_groups.LetPass(descriptors[2].revents);
    }

    // The number of bytes; 0 for none now, or none any more.
    std::size_t ReadOutput()
    {
        if (m_child.output.Get() < 0) {
            return 0;
        }
        const ssize_t size = read(m_child.output.Get(), m_block.get(), kReadSize);
        if (size > 0) {
            m_steps.consume({m_block.get(), static_cast<std::size_t>(size)});
            return static_cast<std::size_t>(size);
        }
        if (size == 0) {
            m_child.output.Close();
        }
        return 0;
    }

    void ReadSignals()
    {
        signalfd_siginfo info = {};
        while (read(m_signals.Get(), &info, sizeof(info)) == sizeof(info)) {
            if (info.ssi_signo == ToolBounds::kSignal) {
                m_tools.Add(static_cast<pid_t>(info.ssi_pid));
            } else if (info.ssi_signo != SIGCHLD) {
                m_interruption = static_cast<int>(info.ssi_signo);
            }
        }
    }

    // Processes may lose their parents and end faster than they are reaped. They count like those that live.
    void Reap()
    {
        int status = 0;
        pid_t ended = 0;
        int count = 0;
        while (count <= m_limits.processes && (ended = waitpid(-1, &status, WNOHANG)) > 0) {
            ++count;
            if (ended == m_child.pid) {
                m_hasEnded = true;
                m_outcome.status = status;
            }
        }
        m_hasDescendants = ended >= 0;
        if (count > m_limits.processes) {
            EndFlood();
        }
    }

    void Advance()
    {
        if (m_phase == Phase::Running && m_hasEnded) {
            Enter(Phase::LeftBehind, m_limits.grace);
        }
        const bool isLate = Clock::now() >= m_phaseEnd;
        switch (m_phase) {
            case Phase::Running:
                if (isLate || m_interruption != 0) {
                    m_outcome.cause = Outcome::Cause::TimeLimit;
                    Terminate();
                } else {
                    CheckProcesses();
                }
                break;
            case Phase::LeftBehind:
                if (!m_hasDescendants) {
                    m_phase = Phase::Over;
                } else if (isLate || m_interruption != 0) {
                    m_outcome.hasLeftBehind = true;
                    Terminate();
                } else if (m_child.output.Get() < 0) {
                    // Nobody can print any more. BusyBox's timeout(1), for one, leaves a process behind for a second.
                    Terminate();
                } else {
                    CheckProcesses();
                }
                break;
            case Phase::Ending:
                if (m_hasDescendants && isLate) {
                    m_outcome.hasLeftBehind |= m_outcome.cause == Outcome::Cause::Itself;
                    m_outcome.hasUnkillable = !KillAll();
                } else if (m_hasDescendants) {
                    CheckProcesses();
                }
                if (!m_hasDescendants || isLate) {
                    m_phase = Phase::Over;
                }
                break;
            case Phase::Over:
                break;
        }
    }

    // The kernel's own limit on processes, RLIMIT_NPROC, spares root.
    void CheckProcesses()
    {
        const int all = AllProcesses();
        if (Clock::now() < m_nextCount && all <= m_allProcesses + m_limits.processes) {
            return;
        }
        m_nextCount = Clock::now() + kCountEvery;
        m_allProcesses = all;
        if (ProcessTree::Count(m_limits.processes + 1) > m_limits.processes) {
            EndFlood();
        } else {
            m_tools.Check();
        }
    }

    // No time for TERM: meanwhile a flood would take the device.
    void EndFlood()
    {
        if (m_phase != Phase::Ending) {
            m_outcome.cause = Outcome::Cause::TooManyProcesses;
        }
        Enter(Phase::Ending, std::chrono::milliseconds(0));
    }

    // A stopped process acts on TERM only once it continues.
    void Terminate()
    {
        ProcessTree::Signal(SIGTERM);
        ProcessTree::Signal(SIGCONT);
        Enter(Phase::Ending, m_limits.killDelay);
    }

    // The group first, in one call that needs no descriptor and that no flood outruns. Then all others. No call that
    // GroupLock holds back is let pass any more.
    bool KillAll()
    {
        if (!m_hasEnded) {
            kill(-m_child.pid, SIGKILL);
        }
        return ProcessTree::KillAll(kKillLimit);
    }

    void ReadFailure()
    {
        m_outcome.failure.resize(Child::kMostFailure);
        const ssize_t size = read(m_child.failure.Get(), m_outcome.failure.data(), m_outcome.failure.size());
        m_outcome.failure.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }

    const SupervisorLimits& m_limits;
    const Supervisor::Steps& m_steps;
    Child m_child;
    GroupLock m_groups;
    Descriptor m_signals;
    ToolBounds m_tools{m_limits.toolTime};
    // Not cleared: most output is shorter.
    const std::unique_ptr<char[]> m_block{new char[kReadSize]};
    Phase m_phase = Phase::Running;
    Clock::time_point m_phaseEnd;
    Clock::time_point m_nextCount = Clock::now() + kCountEvery;
    int m_allProcesses = AllProcesses(); ///< At the latest count.
    bool m_hasEnded = false;
    bool m_hasDescendants = true;
    int m_interruption = 0;
    Outcome m_outcome;
};

} // namespace

Outcome Supervisor::Run(const Task& task, const Steps& steps) const
{
    return Watch(m_limits, steps).Run(task);
}

} // namespace DiagSeal
