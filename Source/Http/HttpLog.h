#pragma once

#include "LogLine.h"

namespace Http
{
/** The level of lines that help only who follows a single exchange step by step. */
constexpr int kMostDetailedLevel = 7;
} // namespace Http
