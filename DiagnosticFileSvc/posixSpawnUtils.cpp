#include "posixSpawnUtils.h"

#include "DFConstants.h"
#include "DFLog.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kSpawner);

// The longest argument that the kernel takes, its NUL counted: MAX_ARG_STRLEN, see execve(2).
constexpr std::size_t kMaxArgumentSize = std::size_t{128} * 1024;

// Starts the command; an error number as of posix_spawn(3), 0 when it runs.
int SpawnShell(const std::string& command, const posix_spawn_file_actions_t* actions, pid_t& child)
{
    // Checked here, because the child opens the output file, and so empties it, before it could fail.
    if (command.size() >= kMaxArgumentSize) {
        return E2BIG;
    }
    if (command.find('\0') != std::string::npos) {
        return EINVAL;
    }
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    return posix_spawn(&child, "/bin/sh", actions, nullptr, arguments, environ);
}

// Waits until the child has exited or was killed. False, with errno set, when waiting failed.
bool WaitForEnd(pid_t child, int& status, const char* operation, const char* eachWait)
{
    do {
        if (waitpid(child, &status, 0) == -1) {
            return false;
        }
        LogProgress(s_log, operation, eachWait, WEXITSTATUS(status));
    } while (!WIFEXITED(status) && !WIFSIGNALED(status));
    return true;
}

// What the log says at each stage of a run of a compressing or archiving script.
struct ScriptRun
{
    const char* operation;
    const char* script;
    const char* command;
    const char* spawnFailed;
    const char* childStarted;
    const char* eachWait;
    const char* waitFailed;
    const char* ended;
};

constexpr ScriptRun kCompressRun = {
    "CompressDiagnosticFile",
    "compress-diag-file.sh ",
    "upload_sys_logs CompressDiagnosticFile filename: ",
    "upload_sys_logs CompressDiagnosticFile - posix_spawn: ERROR status: ",
    "upload_sys_logs CompressDiagnosticFile - Child pid: ",
    "upload_sys_logs CompressDiagnosticFile - Child status: ",
    "upload_sys_logs - CompressDiagnosticFile Child status: ERROR",
    "upload_sys_logs CompressDiagnosticFile - Child is done, clean exit: ",
};

constexpr ScriptRun kTarRun = {
    "TarDiagnosticFiles",
    "tar-compress-diag-files.sh ",
    "TarDiagnosticFiles filename: ",
    "TarDiagnosticFiles - posix_spawn: ERROR status: ",
    "upload_sys_logs CompressDiagnosticFile - Child pid: ",
    "TarDiagnosticFiles - Child status: ",
    "TarDiagnosticFiles Child status: ERROR",
    "TarDiagnosticFiles - Child is done, clean exit: ",
};

void RunScript(const ScriptRun& run, std::string filename)
{
    const std::string command = run.script + std::move(filename);
    LogProgress(s_log, run.operation, run.command, command);
    pid_t child = 0;
    const int error = SpawnShell(command, nullptr, child);
    if (error != 0) {
        LogProgress(s_log, run.operation, run.spawnFailed, error);
        return;
    }
    LogProgress(s_log, run.operation, run.childStarted, child);
    int status = 0;
    if (!WaitForEnd(child, status, run.operation, run.eachWait)) {
        LogProgress(s_log, run.operation, run.waitFailed);
        return;
    }
    LogProgress(s_log, run.operation, run.ended, child);
}
} // namespace

posixSpawnUtils& posixSpawnUtils::GetInstance()
{
    static auto& instance = *new posixSpawnUtils;
    return instance;
}

posixSpawnUtils::posixSpawnUtils()
{
    LogProgress(s_log, __func__, "posixSpawnUtils::posixSpawnUtils - START");
}

void posixSpawnUtils::CompressDiagnosticFile(std::string filename)
{
    LogProgress(s_log, __func__, "upload_sys_logs CompressDiagnosticFile - START");
    RunScript(kCompressRun, std::move(filename));
}

void posixSpawnUtils::TarDiagnosticFiles(std::string filename)
{
    LogProgress(s_log, __func__, "TarDiagnosticFiles - START");
    RunScript(kTarRun, std::move(filename));
}

int posixSpawnUtils::CollectEncryptLogs(const std::string& outputPath, const std::string& command)
{
    LogProgress(s_log, __func__, "CollectSysLogs - command: ", command);
    m_outputPath = outputPath;

    int status = 0;
    // Initialised for every run and never destroyed: deliberate.
    posix_spawn_file_actions_t actions;
    int error = posix_spawn_file_actions_init(&actions);
    if (error != 0) {
        LogProgress(s_log, __func__, "upload_sys_logs - posix_spawn_file_action error ", error);
        return error;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - testpoint #1");
    error = posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, m_outputPath.c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (error != 0) {
        LogProgress(s_log, __func__, "upload_sys_logs - posix_spawn_file_action_addopen ", error);
        return error;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - testpoint #2");
    error = posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    if (error != 0) {
        LogProgress(s_log, __func__, "upload_sys_logs - posix_spawn_file_action_addup2 ", error);
        return error;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - testpoint #3");
    pid_t child = 0;
    status = SpawnShell(command, &actions, child);
    if (status != 0) {
        LogProgress(s_log, __func__, "upload_sys_logs - posix_spawn: ERROR status: ", status);
        return status;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - Child pid: ", child);
    if (!WaitForEnd(child, status, __func__, "upload_sys_logs - Child status: ")) {
        LogProgress(s_log, __func__, "upload_sys_logs - Child status: ERROR");
        return status;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - Child is done, status: ", status);
    LogProgress(s_log, __func__, "upload_sys_logs - Child is done, clean exit: ", child);
    CompressDiagnosticFile(m_outputPath);
    return status;
}
} // namespace DiagnosticFileSvc
