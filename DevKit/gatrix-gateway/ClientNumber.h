#pragma once

#include <cstdint>

namespace GatrixGateway
{

/** A connection to the gateway, counted from 1 in the order of arrival; never used again. */
using ClientNumber = std::uint64_t;

} // namespace GatrixGateway
