#pragma once

#include <string>

#include "NotifyTargetTaskIF.h"

namespace IL
{
NotifyTargetTaskIF* CreateTask(const std::string& name, const std::string&);
} // namespace IL
