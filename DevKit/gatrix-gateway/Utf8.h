#pragma once

#include <cstddef>
#include <string>

namespace GatrixGateway
{

/** The text, at most that many bytes of it, cut between two characters (UTF-8, RFC 3629). Any thread may call. */
std::string CutUtf8(const std::string& text, std::size_t longest);

} // namespace GatrixGateway
