#pragma once

#include <cstddef>
#include <functional>

namespace DfsOpen
{

/** Takes the next bytes of a stream; false when it can take no more, which ends the stream. */
using ByteSink = std::function<bool(const char* data, std::size_t size)>;

} // namespace DfsOpen
