#include "ServiceLink.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace Vcli
{

namespace
{
// In milliseconds.
constexpr std::int64_t kLongestPoll = 1000000;

// Whether the descriptor became ready in time.
bool WaitUntil(int descriptor, short events, ServiceLink::Clock::time_point deadline)
{
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - ServiceLink::Clock::now()).count();
        pollfd ready{descriptor, events, 0};
        const int count = ::poll(&ready, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, kLongestPoll)));
        if (count > 0 || (count == 0 && left <= 0)) {
            return count > 0;
        }
    }
}
} // namespace

ServiceLink::ServiceLink(std::string name, FileDescriptor socket) : m_name(std::move(name)), m_socket(std::move(socket))
{}

void ServiceLink::Send(const CliWire::Request& request, Clock::time_point deadline)
{
    const std::string line = CliWire::Encode(request);
    for (std::size_t done = 0; m_isOpen && done < line.size();) {
        const ssize_t sent = ::send(m_socket.Get(), line.data() + done, line.size() - done, MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else {
            m_isOpen = errno == EINTR || (errno == EAGAIN && WaitUntil(m_socket.Get(), POLLOUT, deadline));
        }
    }
}

std::optional<CliWire::Event> ServiceLink::Next(Clock::time_point deadline)
{
    while (m_isOpen) {
        if (const auto line = m_lines.Next()) {
            auto event = CliWire::DecodeEvent(*line);
            m_isOpen = event.has_value();
            return event;
        }
        if (m_lines.IsTooLong()) {
            m_isOpen = false;
            break;
        }
        if (!WaitUntil(m_socket.Get(), POLLIN, deadline)) {
            break;
        }
        std::array<char, 16384> chunk;
        const ssize_t got = ::recv(m_socket.Get(), chunk.data(), chunk.size(), 0);
        if (got > 0) {
            m_lines.Append(chunk.data(), static_cast<std::size_t>(got));
        } else {
            m_isOpen = got < 0 && (errno == EAGAIN || errno == EINTR);
        }
    }
    return std::nullopt;
}

} // namespace Vcli
