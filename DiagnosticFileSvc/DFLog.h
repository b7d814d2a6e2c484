#pragma once

#include "LogLine.h"

/** How the service writes its log lines. */
namespace DiagnosticFileSvc
{
/** The levels of DPrint, as the service uses them. */
enum LogLevel : int
{
    Error = 1,
    Warning = 2,
    Progress = 3,
    /** Not written by default. A line that holds a credential has this level at least. */
    Detail = 4,
};

/** LogLine at the level of ordinary progress. */
template <typename... Parts>
void LogProgress(const DPrint& log, const char* operation, const Parts&... parts)
{
    LogLine(log, LogLevel::Progress, operation, parts...);
}

/** Writes the " - START" line of an operation now and its " - END" line when the scope ends, however it ends. */
class LogScope
{
public:
    /**
     * @param operation the operation's name, the prefix of both lines
     * @param words     what the lines call the operation: its name, often with the class in front; empty for bare
     *                  "START" and "END"
     * @param endWords  what the end line calls it, where that differs
     * All texts must outlive the scope.
     */
    LogScope(const DPrint& log, const char* operation, const char* words, const char* endWords)
        : m_log(log), m_operation(operation), m_endWords(endWords)
    {
        LogProgress(m_log, m_operation, words, Separator(words), "START");
    }
    LogScope(const DPrint& log, const char* operation, const char* words) : LogScope(log, operation, words, words) {}
    LogScope(const DPrint& log, const char* operation) : LogScope(log, operation, operation, operation) {}
    ~LogScope() { LogProgress(m_log, m_operation, m_endWords, Separator(m_endWords), "END"); }
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

private:
    static const char* Separator(const char* words) { return *words == '\0' ? "" : " - "; }

    const DPrint& m_log;
    const char* const m_operation;
    const char* const m_endWords;
};
} // namespace DiagnosticFileSvc
