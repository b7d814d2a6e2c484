#pragma once

#include "NotifyTargetTaskIF.h"

class CallbackConnection
{
public:
    explicit CallbackConnection(NotifyTargetTaskIF* task);
    ~CallbackConnection();
};
