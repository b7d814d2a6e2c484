#include "ToolBounds.h"

#include "ProcessTree.h"

#include <algorithm>

namespace DiagSeal
{

namespace
{

constexpr std::size_t kMostTools = 64;
// From KILL to the signal that wakes the parent.
constexpr std::chrono::seconds kWake(1);

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
    m_tools.push_back({pid, std::chrono::steady_clock::now() + m_time, false});
}

void ToolBounds::Check()
{
    const auto now = std::chrono::steady_clock::now();
    const auto isDone = [now](const Tool& tool) {
        if (!ProcessTree::Has(tool.pid)) {
            return true;
        }
        const bool isUnkillable = tool.isKilled && tool.end <= now;
        if (isUnkillable) {
            ProcessTree::SignalParent(tool.pid, kWakeSignal);
        }
        return isUnkillable;
    };
    // First of all, as KillBranch makes a pass of its own, after which Has knows that branch alone.
    m_tools.erase(std::remove_if(m_tools.begin(), m_tools.end(), isDone), m_tools.end());
    for (Tool& tool : m_tools) {
        if (tool.end <= now) {
            ProcessTree::KillBranch(tool.pid);
            tool = {tool.pid, now + kWake, true};
        }
    }
}

} // namespace DiagSeal
