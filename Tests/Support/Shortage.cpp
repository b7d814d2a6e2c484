#include "Shortage.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <pthread.h>

namespace
{
thread_local std::size_t s_refusedFrom = 0;
std::atomic<bool> s_areThreadsShort{false};
thread_local bool s_isExempt = false;
} // namespace

void Shortage::OfMemory(std::size_t fromSize)
{
    s_refusedFrom = fromSize;
}

void Shortage::OfThreads(bool isShort)
{
    s_isExempt = true;
    s_areThreadsShort = isShort;
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return s_refusedFrom != 0 && size >= s_refusedFrom ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument)
{
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return s_areThreadsShort && !s_isExempt ? EAGAIN : create(thread, attributes, body, argument);
}
#endif
