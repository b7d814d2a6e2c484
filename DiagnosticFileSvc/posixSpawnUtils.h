#pragma once

#include <string>

namespace DiagnosticFileSvc
{
/**
 * The one place that starts other programs: runs a command by /bin/sh (posix_spawn(3)) and waits for it.
 *
 * Commands are given to the shell as they are, without quoting. They inherit the service's environment, standard input,
 * output and error, and nothing else. Called on the harvester's task only.
 *
 * Blocks.
 */
class posixSpawnUtils
{
public:
    /** The single instance, made by the first call and never destroyed. */
    static posixSpawnUtils& GetInstance();

    /** Runs "compress-diag-file.sh " and the filename. How it ends is only logged. */
    void CompressDiagnosticFile(std::string filename);

    /** Runs "tar-compress-diag-files.sh " and the filename, which may be a list. How it ends is only logged. */
    void TarDiagnosticFiles(std::string filename);

    /**
     * Runs a command with standard output and standard error going to a file (made anew, mode 0644 less the umask),
     * then compresses that file, whatever the command's outcome.
     *
     * @return 0 when the command exited with 0, otherwise its wait status (see waitpid(2)). If a call kept it from
     * running, the error number of that call; then nothing is compressed. When waiting for the command fails, what the
     * last wait gave, or 0.
     */
    int CollectEncryptLogs(const std::string& outputPath, const std::string& command);

private:
    posixSpawnUtils();

    /** The output file of the latest collecting run. */
    std::string m_outputPath;
};
} // namespace DiagnosticFileSvc
