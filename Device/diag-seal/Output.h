#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

/** Writes to a descriptor that it does not own, in blocks. SIGPIPE must be ignored. Not thread-safe. */
class Output
{
public:
    /**
     * @param name stands before the reason of an error
     * @param deadline until then the reader of a pipe may keep it waiting
     */
    Output(int descriptor, std::string name,
           std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max());

    /**
     * Takes bytes and writes full blocks.
     * @throws std::runtime_error with the name and the reason: a full disk, a reader that is gone or takes nothing
     * until the deadline
     */
    void Write(std::string_view bytes);

    /** Writes what is held back. @throws std::runtime_error as Write does */
    void Flush();

private:
    [[noreturn]] void Fail(const std::string& reason) const;
    void AwaitReader() const;

    int m_descriptor;
    std::string m_name;
    bool m_isFile;
    std::chrono::steady_clock::time_point m_deadline;
    std::vector<char> m_block;
};

} // namespace DiagSeal
