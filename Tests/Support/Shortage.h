#pragma once

#include <cstddef>

/** Makes the test's process run short of something, as a device may. What is linked with it can fail so at any time. */
namespace Shortage
{
/** From now on, what the calling thread wants to allocate by `new` of this size, in bytes, or more is refused. 0 ends
 *  that. */
void OfMemory(std::size_t fromSize);

/** Whether threads other than the caller are refused to start more threads. Not with a sanitizer, which starts its own
 *  way. */
void OfThreads(bool isShort);
} // namespace Shortage
