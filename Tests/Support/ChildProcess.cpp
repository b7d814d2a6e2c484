#include "ChildProcess.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

ChildProcess::ChildProcess(const std::vector<std::string>& command)
{
    m_outputPath = "/tmp/child-XXXXXX";
    close(mkstemp(m_outputPath.data()));
    // The shell sets up its streams, and becomes the program.
    std::vector<std::string> words{"sh", "-c", "exec \"$@\" </dev/null >>\"$0\" 2>&1", m_outputPath};
    words.insert(words.end(), command.begin(), command.end());
    std::vector<char*> arguments(words.size() + 1);
    std::transform(words.begin(), words.end(), arguments.begin(), [](auto& word) { return word.data(); });
    const int error = posix_spawn(&m_pid, "/bin/sh", nullptr, nullptr, arguments.data(), environ);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), "/bin/sh");
    }
}

ChildProcess::~ChildProcess()
{
    if (!m_isReaped) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, &m_status, 0);
    }
    unlink(m_outputPath.c_str());
}

int ChildProcess::WaitForExit(std::chrono::milliseconds deadline)
{
    if (!m_isReaped) {
        m_isReaped = WaitUntil([this] { return waitpid(m_pid, &m_status, WNOHANG) == m_pid; }, deadline);
        EXPECT_TRUE(m_isReaped) << "still running; so far it printed:\n" << Output();
    }
    return m_isReaped && WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
}

std::string ChildProcess::Output() const
{
    return ReadWholeFile(m_outputPath);
}

bool ChildProcess::WaitForOutput(const std::string& text, std::chrono::milliseconds deadline) const
{
    const bool isThere = WaitUntil([&] { return Output().find(text) != std::string::npos; }, deadline);
    EXPECT_TRUE(isThere) << "waited for: " << text << "\nin:\n" << Output();
    return isThere;
}

Finished RunProgram(const std::vector<std::string>& command)
{
    ChildProcess child(command);
    const int status = child.WaitForExit();
    return {status, child.Output()};
}

std::string Program(const std::string& name)
{
    return std::string(PROGRAM_DIRECTORY "/") + name;
}
