#pragma once

#include <cstddef>
#include <dlfcn.h>

/** What libraries share that are loaded before all others, to stand between the service and the C library. */

/** The driver's file SOAK_CONTROL, of that size, mapped. For static initialization. Ends a process that cannot have it.
 */
void* MapControl(std::size_t size);

/** The function of the next library that the calling one, of the same name, stands for. Thread-safe. */
template <auto Function>
auto Next(const char* name = __builtin_FUNCTION())
{
    static const auto next = reinterpret_cast<decltype(Function)>(dlsym(RTLD_NEXT, name));
    return next;
}
