#pragma once

class NotifyTargetTaskIF
{
public:
    virtual ~NotifyTargetTaskIF();
};
