#include "ChildProcess.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

ChildProcess::ChildProcess(const std::vector<std::string>& command)
{
    std::string path = "/tmp/child-XXXXXX";
    const int output = mkostemp(path.data(), O_CLOEXEC | O_APPEND);
    m_outputPath = path;

    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    const int error = posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), command[0]);
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
