#pragma once

#include <map>
#include <string>

namespace Http
{
/** Header fields, name to value. Names are compared exactly as they were written or received. */
using HeaderMap = std::map<std::string, std::string>;
} // namespace Http
