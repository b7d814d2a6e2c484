#pragma once

class CTask
{
public:
    enum RealtimeType
    {
        NOT_REALTIME = 0,
    };

    CTask(const char* name, bool detached, RealtimeType realtime, int priority);
    virtual ~CTask();
    void Start();

protected:
    virtual void ThreadBody() = 0;
};
