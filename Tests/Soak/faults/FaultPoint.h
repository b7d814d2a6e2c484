#pragma once

#include "FaultControl.h"

#include <cerrno>
#include <dlfcn.h>

/** How much of a call a fault concerns. */
enum class Part
{
    Whole,
    Some
};

/** What the driver shares with the process under test; null in every other process. Thread-safe. */
FaultControl* Control();

/** Counts the call, and says whether it is the one that goes wrong. In mode Kill that ends the process. Thread-safe. */
bool IsDue(FaultKind kind, const char* function, Part part = Part::Whole);

/** Sets errno, and returns the result. */
template <class Result>
Result Fail(int error, Result result)
{
    errno = error;
    return result;
}

/** In a function that stands for one of the C library: `real` is the next library's function of that name. */
#define REAL(name) static const auto real = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
