#include "DescriptorWatch.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>

#include <utility>

using Descriptor = boost::asio::posix::stream_descriptor;

struct DescriptorWatch::State
{
    State(boost::asio::io_context& context, int number) : descriptor(context, number) {}

    Descriptor descriptor;
    bool isAwaited[2] = {};
    bool isGone = false;
};

DescriptorWatch::DescriptorWatch(boost::asio::io_context& context, const FileDescriptor& descriptor)
    : m_state(std::make_shared<State>(context, descriptor.Get()))
{}

DescriptorWatch::~DescriptorWatch()
{
    m_state->isGone = true;
    m_state->descriptor.release();
}

void DescriptorWatch::Await(For readiness, std::function<void()> work)
{
    const auto index = static_cast<std::size_t>(readiness);
    if (std::exchange(m_state->isAwaited[index], true)) {
        return;
    }
    m_state->descriptor.async_wait(
        readiness == For::Reading ? Descriptor::wait_read : Descriptor::wait_write,
        [state = m_state, index, work = std::move(work)](const boost::system::error_code& error) {
            state->isAwaited[index] = false;
            if (!error && !state->isGone) {
                work();
            }
        });
}
