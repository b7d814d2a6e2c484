#pragma once

#include "IHttpOpHandle.h"
#include "IRunTask.h"

#include <memory>

namespace Http
{
/** The handle of one RunTask, which it shares with the thread that runs it. */
class HttpOpHandle final : public IHttpOpHandle
{
public:
    explicit HttpOpHandle(std::shared_ptr<IRunTask> task);

    void Cancel() override;

private:
    const std::shared_ptr<IRunTask> m_task;
};
} // namespace Http
