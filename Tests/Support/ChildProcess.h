#pragma once

#include "Deadline.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

/** A program run beside the test, its standard output and standard error going to a file. Killed at the end of its
 * scope. */
class ChildProcess
{
public:
    /** Starts the program, found on the PATH unless it holds a "/". One that is not there ends with status 127. */
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Pid() const { return m_pid; }

    /** Waits for the end. The exit status; -1 when a signal killed it or, the test failing, the deadline has passed. */
    int WaitForExit(std::chrono::milliseconds deadline = kDeadline);

    /** What it has printed so far, on both streams. */
    std::string Output() const;

    /** Waits until it has printed the text. False, with the output in the test's log, when it did not in time. */
    bool WaitForOutput(const std::string& text, std::chrono::milliseconds deadline = kDeadline) const;

private:
    pid_t m_pid = -1;
    bool m_isReaped = false;
    int m_status = -1;
    std::string m_outputPath;
};

/** Runs a program to its end. */
struct Finished
{
    int status;
    std::string output;
};
Finished RunProgram(const std::vector<std::string>& command);

/** The full path of a program that this tree builds. */
std::string Program(const std::string& name);
