#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

/** What a fuzz target defines: feeds one input, any bytes, to what is fuzzed, and ends the process on a finding. */
void CheckInput(const std::string& input);

/** Ends a fuzz target's process, as a finding, when what must hold does not. */
#define FUZZ_CHECK(condition) ((condition) ? static_cast<void>(0) : FuzzFinding(#condition, __FILE__, __LINE__))

[[noreturn]] inline void FuzzFinding(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}
