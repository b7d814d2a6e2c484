#pragma once

#include "CTask.h"
#include "NotifyTargetTaskIF.h"

class APTask : public CTask, public NotifyTargetTaskIF
{
public:
    APTask(const char* name, unsigned int, CTask::RealtimeType realtime, int priority);
    ~APTask() override;
    void Stop();

protected:
    virtual void OnEntry();

private:
    void ThreadBody() final;
};
