#pragma once

#include "LogLine.h"

namespace Http
{
/** The level of what is of use only when a single exchange is followed step by step. */
constexpr int kMostDetailedLevel = 7;
} // namespace Http
