#pragma once

#include <atomic>
#include <iosfwd>
#include <sstream>
#include <string>

/**
 * A named logger. Each class or module owns one, usually a static object of its source file.
 *
 * Levels are small integers, 0 the most severe: 0 critical, 1 errors, 2 warnings and misses, 3 ordinary progress,
 * higher for detail. A line is written when its level is not above the logger's threshold: 3, unless the file
 * /opt/Vantor/etc/DPrintCfg.json says otherwise for all loggers or by name:
 *
 *     { "threshold": 3, "loggers": { "EventWaiter": 6 } }
 *
 * A line goes to standard error in one write(2), so that lines of several threads and processes never mix:
 * UTC time, thread id, level, logger's name, text. Control characters in the text (a cloud's answer may hold any) and
 * bytes that are not UTF-8 are written as escapes, but for one line feed at the end, which is dropped: a line of the
 * log is always one line. From the level on it has at most 8 KiB as it is written; then it says how many bytes are
 * missing. A longer text costs no memory beside the caller's.
 *
 * A failure to write throws nothing. Thread-safe.
 */
class DPrint
{
public:
    /** Reads the thresholds from the configuration file. Harmless when called again: the file is read anew. */
    static void Initialize();

    /** @param name the logger's name in lines and in the configuration; the text must outlive the logger. */
    explicit DPrint(const char* name);
    ~DPrint();
    DPrint(const DPrint&) = delete;
    DPrint& operator=(const DPrint&) = delete;

    /** Whether a line of this level would be written: a line is built only then. */
    bool IsLog(int level) const noexcept { return level <= m_threshold.load(std::memory_order_relaxed); }

    /**
     * Begins a line in stream form: level, logger's name and the operation's name. What is written to the stream from
     * here on is kept for Put, as far as the line shows it, and not in the stream's str(). Returns the stream.
     */
    std::ostream& Prefix(std::ostream& stream, int level, const char* functionName) const;

    /** Writes the line that Prefix began in this stream. */
    void Put(const std::ostringstream& stream) const;

    /** Writes a line in printf(3) form, if its level is to be written. */
    void Log(int level, const char* format, ...) const __attribute__((format(printf, 3, 4)));

    /** Log at level 2. */
    void LogWarning(const char* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    friend class DPrintRegistry;

    const char* m_name;
    std::atomic<int> m_threshold;
};
