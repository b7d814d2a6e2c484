#pragma once

#include <cerrno>
#include <cstddef>
#include <dlfcn.h>

/** What libraries share that are loaded before all others, to stand between the service and the C library. */

/**
 * The driver's file, of that size, mapped if this is the process under test; null in every other process. What the
 * process starts is not under test. FAULT_PROGRAM names the program, FAULT_CONTROL the file.
 */
void* MapControl(std::size_t size);

/** Sets errno, and returns the result. */
template <class Result>
Result Fail(int error, Result result)
{
    errno = error;
    return result;
}

/** In a function that stands for one of another library: `real` is the next library's function of that name. */
#define REAL(name) static const auto real = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
