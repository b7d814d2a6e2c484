#include "ProcessTree.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace DiagSeal::ProcessTree
{

namespace
{

struct Process
{
    pid_t pid;
    pid_t parent;
    bool isAlive;
    bool isDescendant;
};

/** More processes than that are told apart in the next pass, when their parents are gone and they are children. */
constexpr std::size_t kMostProcesses = 16384;
std::array<Process, kMostProcesses> g_processes;

/** A directory entry as getdents64(2) has it. */
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

/** Reads state and parent from /proc/PID/stat, see proc(5). False when the process is gone. */
bool ReadProcess(int proc, const char* name, Process& process)
{
    constexpr std::size_t kLongestName = 16;
    constexpr char kFile[] = "/stat";
    std::array<char, kLongestName + sizeof(kFile)> path{};
    std::array<char, 256> text{}; // The fields of interest are among the first hundred bytes.
    const std::size_t length = strnlen(name, kLongestName);
    std::memcpy(path.data(), name, length);
    std::memcpy(path.data() + length, kFile, sizeof(kFile));
    const int file = openat(proc, path.data(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const ssize_t size = read(file, text.data(), text.size() - 1);
    close(file);
    // The program's name in parentheses may itself hold parentheses and blanks; "S 1 " follows it.
    const char* const end = size > 0 ? std::strrchr(text.data(), ')') : nullptr;
    if (end == nullptr || end + 4 >= text.data() + size) {
        return false;
    }
    const char state = end[2];
    process = {Number(name), Number(end + 4), state != 'Z' && state != 'X', false};
    return true;
}

/** In the order of their numbers, as /proc lists them. */
std::size_t ReadProcesses(int proc)
{
    alignas(Entry) std::array<char, 8192> buffer;
    std::size_t count = 0;
    for (;;) {
        const long size = syscall(SYS_getdents64, proc, buffer.data(), buffer.size());
        if (size <= 0) {
            return count;
        }
        for (long offset = 0; offset < size;) {
            const char* const at = buffer.data() + offset;
            unsigned short entrySize = 0;
            std::memcpy(&entrySize, at + offsetof(Entry, size), sizeof(entrySize));
            const char* const name = at + offsetof(Entry, name);
            offset += entrySize;
            if (Number(name) > 0 && count < kMostProcesses && ReadProcess(proc, name, g_processes[count])) {
                ++count;
            }
        }
    }
}

bool IsDescendant(std::size_t count, pid_t pid, pid_t self)
{
    if (pid == self) {
        return true;
    }
    Process* const end = g_processes.data() + count;
    const Process* const found = std::lower_bound(
        g_processes.data(), end, pid, [](const Process& process, pid_t wanted) { return process.pid < wanted; });
    return found != end && found->pid == pid && found->isDescendant;
}

void MarkDescendants(std::size_t count, pid_t self)
{
    for (bool hasChanged = true; hasChanged;) {
        hasChanged = false;
        for (std::size_t index = 0; index < count; ++index) {
            Process& process = g_processes[index];
            if (!process.isDescendant && process.pid != self && IsDescendant(count, process.parent, self)) {
                process.isDescendant = true;
                hasChanged = true;
            }
        }
    }
}

std::int64_t Milliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

} // namespace

int Signal(int signal)
{
    const int proc = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (proc < 0) {
        return 0;
    }
    const std::size_t count = ReadProcesses(proc);
    close(proc);
    MarkDescendants(count, getpid());
    int alive = 0;
    for (std::size_t index = 0; index < count; ++index) {
        const Process& process = g_processes[index];
        if (process.isDescendant && process.isAlive) {
            ++alive;
            kill(process.pid, signal);
        }
    }
    return alive;
}

bool KillAll(std::chrono::milliseconds timeLimit)
{
    constexpr timespec kPause = {0, 1000000};
    for (const std::int64_t end = Milliseconds() + timeLimit.count();;) {
        Signal(SIGKILL);
        pid_t reaped = 0;
        do {
            reaped = waitpid(-1, nullptr, WNOHANG);
        } while (reaped > 0);
        if (reaped < 0 && errno == ECHILD) {
            return true;
        }
        if (Milliseconds() > end) {
            return false;
        }
        nanosleep(&kPause, nullptr);
    }
}

} // namespace DiagSeal::ProcessTree
