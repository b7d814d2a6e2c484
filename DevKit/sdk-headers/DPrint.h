#pragma once

#include <iosfwd>
#include <sstream>

class DPrint
{
public:
    explicit DPrint(const char* name);
    ~DPrint();

    static void Initialize();
    bool IsLog(int level) const;
    std::ostream& Prefix(std::ostream& stream, int level, const char* functionName) const;
    void Put(const std::ostringstream& stream) const;
    void Log(int level, const char* format, ...) const __attribute__((format(printf, 3, 4)));
    void LogWarning(const char* format, ...) const __attribute__((format(printf, 2, 3)));
};
