#include "Child.h"

#include "DescriptorMessage.h"
#include "ErrorText.h"
#include "GroupLock.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

// The status with which a shell tells of a missing command.
constexpr int kFailed = 127;

void OpenPipe(Descriptor& readEnd, Descriptor& writeEnd)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe can be made: " + ErrorText());
    }
    readEnd.Reset(ends[0]);
    writeEnd.Reset(ends[1]);
}

void OpenSocketPair(Descriptor& one, Descriptor& other)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no socket can be made: " + ErrorText());
    }
    one.Reset(ends[0]);
    other.Reset(ends[1]);
}

void ResetSignals()
{
    for (int signal = 1; signal < NSIG; ++signal) {
        std::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

// What the child has of each connection.
struct ChildEnds
{
    Descriptor gate;
    Descriptor output;
    Descriptor failure;
};

void SendGroupListener(int gate)
{
    const Descriptor listener(GroupLock::Install());
    SendDescriptor(gate, listener.Get());
}

[[noreturn]] void BeChild(const std::function<std::string()>& task, const ChildEnds& ends, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        // The parent died before prctl(2).
        _exit(kFailed);
    }
    setsid();
    ResetSignals();
    const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(input, STDIN_FILENO);
    dup2(ends.output.Get(), STDOUT_FILENO);
    dup2(ends.output.Get(), STDERR_FILENO);
    close(ends.output.Get());
    SendGroupListener(ends.gate.Get());
    char go = 0;
    if (read(ends.gate.Get(), &go, 1) != 1) {
        _exit(kFailed);
    }
    std::string reason;
    try {
        reason = task();
    } catch (const std::exception& error) {
        reason = error.what();
    }
    reason.resize(std::min(reason.size(), Child::kMostFailure));
    const ssize_t written = write(ends.failure.Get(), reason.data(), reason.size());
    _exit(reason.empty() && written == 0 ? 0 : kFailed);
}

} // namespace

void StartChild(const std::function<std::string()>& task, Child& child)
{
    ChildEnds ends;
    OpenSocketPair(ends.gate, child.gate);
    OpenPipe(child.output, ends.output);
    OpenPipe(child.failure, ends.failure);
    for (const Descriptor* descriptor : {&child.output, &child.failure}) {
        fcntl(descriptor->Get(), F_SETFL, O_NONBLOCK);
    }
    const pid_t parent = getpid();
    child.pid = fork();
    if (child.pid < 0) {
        throw std::runtime_error("no process can be started: " + ErrorText());
    }
    if (child.pid == 0) {
        child.gate.Close();
        BeChild(task, ends, parent);
    }
}

} // namespace DiagSeal
