#include "ToolBounds.h"

#include "ProcessTree.h"

#include <algorithm>

namespace DiagSeal
{

namespace
{

constexpr std::size_t kMostTools = 64;

} // namespace

ToolBounds::ToolBounds(std::chrono::milliseconds time) : m_time(time)
{
    // All the memory that it takes: the command may have used up the rest by the time of a request.
    m_tools.reserve(kMostTools);
}

void ToolBounds::Add(pid_t pid)
{
    if (m_tools.size() == kMostTools) {
        m_tools.erase(m_tools.begin());
    }
    m_tools.push_back({pid, std::chrono::steady_clock::now() + m_time});
}

void ToolBounds::Check()
{
    const auto hasEnded = [](const Tool& tool) { return !ProcessTree::Has(tool.pid); };
    m_tools.erase(std::remove_if(m_tools.begin(), m_tools.end(), hasEnded), m_tools.end());
    while (!m_tools.empty() && m_tools.front().end <= std::chrono::steady_clock::now()) {
        ProcessTree::KillBranch(m_tools.front().pid);
        m_tools.erase(m_tools.begin());
    }
}

} // namespace DiagSeal
