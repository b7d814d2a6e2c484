#pragma once

#include "FileDescriptor.h"

#include <functional>
#include <memory>

namespace boost::asio
{
class io_context;
}

/** Runs work of an event loop when a descriptor is ready. Loop and descriptor must outlive it. Not thread-safe. */
class DescriptorWatch
{
public:
    enum class For
    {
        Reading,
        Writing
    };

    /** @throws std::runtime_error when the kernel does not take the descriptor, see epoll_ctl(2) */
    DescriptorWatch(boost::asio::io_context& context, const FileDescriptor& descriptor);
    ~DescriptorWatch();
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;

    /**
     * Runs the work once, when the descriptor is ready for that or has failed. Does nothing while earlier work waits
     * for the same. The work may destroy the watch.
     */
    void Await(For readiness, std::function<void()> work);

private:
    struct State;
    const std::shared_ptr<State> m_state;
};
