#include "CliConnection.h"

#include <array>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

CliConnection::CliConnection(FileDescriptor socket) : m_socket(std::move(socket)) {}

CliConnection::State CliConnection::Receive()
{
    std::array<char, CliWire::kMaxRequestLength> chunk;
    const ssize_t got = ::recv(m_socket.Get(), chunk.data(), chunk.size(), 0);
    if (got > 0) {
        m_requests.Append(chunk.data(), static_cast<std::size_t>(got));
        return State::Open;
    }
    return got < 0 && (errno == EAGAIN || errno == EINTR) ? State::Open : State::Lost;
}

CliConnection::State CliConnection::Send(const std::string& line)
{
    if (m_backlog.size() + line.size() > kMaxBacklog) {
        return State::Lost;
    }
    m_backlog += line;
    return Flush();
}

CliConnection::State CliConnection::Flush()
{
    std::size_t done = 0;
    State state = State::Open;
    while (done < m_backlog.size()) {
        const ssize_t sent = ::send(m_socket.Get(), m_backlog.data() + done, m_backlog.size() - done, MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno != EINTR) {
            state = errno == EAGAIN ? State::Open : State::Lost;
            break;
        }
    }
    m_backlog.erase(0, done);
    return state;
}
