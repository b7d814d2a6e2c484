#pragma once

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

/** The memory of this process, in kB: a field of /proc/self/status, see proc(5). VmHWM is the most that it has had. */
inline long Memory(const std::string& field = "VmHWM")
{
    const std::string status = ReadWholeFile("/proc/self/status");
    return std::stol(status.substr(status.find(field + ":") + field.size() + 1));
}

/** From now on, this process gets no more memory than that, in kB. */
inline void LimitMemoryToMore(long room)
{
    const rlimit limit{static_cast<rlim_t>(Memory("VmSize") + room) * 1024, RLIM_INFINITY};
    EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
}
