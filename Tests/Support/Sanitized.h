#pragma once

#include <gtest/gtest.h>

/** Whether a sanitizer is built in, which takes memory and descriptors of its own. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

/** Skips the running test, for this reason, when a sanitizer is built in. */
#define SKIP_IF_SANITIZED(reason) \
    if (kIsSanitized)             \
    GTEST_SKIP() << (reason)
