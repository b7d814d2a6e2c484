#pragma once

/** Whether a sanitizer is built in, which takes memory and descriptors of its own. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
