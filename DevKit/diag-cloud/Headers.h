#pragma once

#include <string>
#include <utility>
#include <vector>

namespace DiagCloud
{

/** HTTP header fields in their order, names as they were sent. */
using Headers = std::vector<std::pair<std::string, std::string>>;

/** The value of the first field of that name, in whatever case (RFC 9110, section 5.1); empty when there is none. */
std::string FindHeader(const Headers& headers, const std::string& name);

/** Whether there is a field of that name, in whatever case. */
bool HasHeader(const Headers& headers, const std::string& name);

} // namespace DiagCloud
