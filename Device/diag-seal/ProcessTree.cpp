#include "ProcessTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace DiagSeal::ProcessTree
{

namespace
{

struct Process
{
    pid_t pid;
    pid_t parent;
    bool isDescendant;
};

// Processes beyond that wait for the next pass. By then their parents are gone, and they are children of this one.
constexpr std::size_t kMostProcesses = 16384;
constexpr int kMostVanished = 256;
std::array<Process, kMostProcesses> g_processes;
std::size_t g_count = 0;

// A directory entry as getdents64(2) has it.
struct Entry
{
    std::uint64_t inode;
    std::int64_t offset;
    unsigned short size;
    unsigned char type;
    char name[1]; ///< Up to a NUL.
};

pid_t Number(const char* digits)
{
    pid_t number = 0;
    for (; *digits >= '0' && *digits <= '9'; ++digits) {
        number = number * 10 + (*digits - '0');
    }
    return *digits == '\0' || *digits == ' ' ? number : 0;
}

// Reads the parent from /proc/PID/stat, see proc(5). False when the process is gone.
bool ReadProcess(int proc, const char* name, Process& process)
{
    constexpr std::size_t kLongestName = 16;
    constexpr char kFile[] = "/stat";
    std::array<char, kLongestName + sizeof(kFile)> path{};
    // The fields of interest are among the first hundred bytes.
    std::array<char, 256> text{};
    const std::size_t length = strnlen(name, kLongestName);
    std::memcpy(path.data(), name, length);
    std::memcpy(path.data() + length, kFile, sizeof(kFile));
    const int file = openat(proc, path.data(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const ssize_t size = read(file, text.data(), text.size() - 1);
    close(file);
    // The program's name stands in parentheses and may itself hold some. State and parent follow it, as in "S 1 ".
    const char* const end = size > 0 ? std::strrchr(text.data(), ')') : nullptr;
    if (end == nullptr || end + 4 >= text.data() + size) {
        return false;
    }
    process = {Number(name), Number(end + 4), false};
    return true;
}

// The process of this number, of those up to now; nullptr if it is not among them.
const Process* Find(pid_t pid)
{
    const Process* const end = g_processes.data() + g_count;
    const Process* const found =
        std::lower_bound(static_cast<const Process*>(g_processes.data()), end, pid,
                         [](const Process& process, pid_t wanted) { return process.pid < wanted; });
    return found != end && found->pid == pid ? found : nullptr;
}

// Takes the processes in the order of their numbers, as /proc lists them.
class Walk
{
public:
    // What descends from the root gets the signal, unless that is 0.
    Walk(int proc, int signal, pid_t root) : m_proc(proc), m_signal(signal), m_root(root) { g_count = 0; }

    // A child mostly has a higher number than its parent, so that one pass catches up with a flood of processes.
    int Run()
    {
        alignas(Entry) std::array<char, 8192> buffer;
        long size = 0;
        // Not without end: the processes of a flood end before they are read, and new ones keep ahead of the listing.
        while (g_count < kMostProcesses && m_vanished < kMostVanished &&
               (size = syscall(SYS_getdents64, m_proc, buffer.data(), buffer.size())) > 0) {
            for (long offset = 0; offset < size;) {
                const char* const at = buffer.data() + offset;
                unsigned short entrySize = 0;
                std::memcpy(&entrySize, at + offsetof(Entry, size), sizeof(entrySize));
                Add(at + offsetof(Entry, name));
                offset += entrySize;
            }
        }
        for (bool hasChanged = true; hasChanged;) {
            hasChanged = false;
            for (std::size_t index = 0; index < g_count; ++index) {
                hasChanged = Look(g_processes[index]) || hasChanged;
            }
        }
        return m_descendants;
    }

private:
    void Add(const char* name)
    {
        if (Number(name) <= 0 || g_count == kMostProcesses) {
            return;
        }
        if (ReadProcess(m_proc, name, g_processes[g_count])) {
            ++g_count;
            Look(g_processes[g_count - 1]);
        } else {
            ++m_vanished;
        }
    }

    // Returns whether it turns out to be a descendant, which gets the signal.
    bool Look(Process& process)
    {
        if (process.isDescendant || process.pid == m_root || !IsDescendant(process.parent)) {
            return false;
        }
        process.isDescendant = true;
        ++m_descendants;
        kill(process.pid, m_signal);
        return true;
    }

    bool IsDescendant(pid_t pid) const
    {
        const Process* const found = Find(pid);
        return pid == m_root || (found != nullptr && found->isDescendant);
    }

    const int m_proc;
    const int m_signal;
    const pid_t m_root;
    int m_descendants = 0;
    int m_vanished = 0; ///< Listed, and gone before they were read.
};

std::int64_t Milliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

int SignalBelow(pid_t root, int signal)
{
    const int proc = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (proc < 0) {
        return 0;
    }
    const int descendants = Walk(proc, signal, root).Run();
    close(proc);
    return descendants;
}

// Lets this process run before all that have no real-time priority, see sched(7): a flood leaves little time to what
// kills it. Without effect where that is not allowed, as in the service's unit, whose bound of tasks helps there.
class Precedence
{
public:
    Precedence() { Set(SCHED_FIFO, 1); }
    ~Precedence() { Set(m_policy, 0); }
    Precedence(const Precedence&) = delete;
    Precedence& operator=(const Precedence&) = delete;

private:
    static void Set(int policy, int priority)
    {
        const sched_param parameters = {priority};
        sched_setscheduler(0, policy, &parameters);
    }

    const int m_policy = sched_getscheduler(0);
};

} // namespace

int Signal(int signal)
{
    return SignalBelow(getpid(), signal);
}

bool Has(pid_t pid)
{
    const Process* const found = Find(pid);
    return found != nullptr && found->isDescendant;
}

void SignalParent(pid_t pid, int signal)
{
    const Process* const found = Find(pid);
    if (found != nullptr && Has(found->parent)) {
        kill(found->parent, signal);
    }
}

void KillBranch(pid_t root)
{
    kill(root, SIGSTOP);
    SignalBelow(root, SIGKILL);
    kill(root, SIGKILL);
}

bool KillAll(std::chrono::milliseconds timeLimit)
{
    constexpr timespec kPause = {0, 1000000};
    constexpr int kMostReaped = 256; // in one turn, as processes may end faster than they are reaped
    // What ends from now on is reaped by the kernel, see waitpid(2).
    std::signal(SIGCHLD, SIG_IGN);
    const Precedence precedence;
    for (const std::int64_t end = Milliseconds() + timeLimit.count();;) {
        pid_t reaped = 1;
        for (int count = 0; count < kMostReaped && reaped > 0; ++count) {
            reaped = waitpid(-1, nullptr, WNOHANG);
        }
        if (reaped < 0 && errno == ECHILD) {
            return true;
        }
        if (Milliseconds() > end) {
            return false;
        }
        Signal(SIGKILL);
        nanosleep(&kPause, nullptr);
    }
}

} // namespace DiagSeal::ProcessTree
