#include "HttpOpHandle.h"

#include "HttpLog.h"

#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("HttpOpHandle");
}

HttpOpHandle::HttpOpHandle(std::shared_ptr<IRunTask> task) : m_task(std::move(task)) {}

void HttpOpHandle::Cancel()
{
    s_log.Log(kMostDetailedLevel, "HttpOpHandle::Cancel()\n");
    m_task->Cancel();
}
} // namespace Http
