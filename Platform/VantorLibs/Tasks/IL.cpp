#include "IL.h"

#include "APTask.h"
#include "DPrint.h"

#include <memory>
#include <mutex>
#include <vector>

namespace
{
const DPrint s_log("IL");
}

NotifyTargetTaskIF* IL::CreateTask(const std::string& name, const std::string& group)
{
    static std::mutex mutex;
    // Never destroyed, so that its tasks may run until the very end of the process.
    static auto& tasks = *new std::vector<std::unique_ptr<APTask>>;

    auto task = std::make_unique<APTask>(name.c_str(), 0, CTask::NOT_REALTIME, -1);
    task->Start();
    s_log.Log(4, "%s: %s (%s)", __func__, name.c_str(), group.c_str());
    const std::lock_guard lock(mutex);
    tasks.push_back(std::move(task));
    return tasks.back().get();
}
