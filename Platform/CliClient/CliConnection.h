#pragma once

#include "CliWire.h"
#include "FileDescriptor.h"

#include <cstddef>
#include <string>

/** The service's end of a connection to one tool. The owner says when to try again. Not thread-safe. */
class CliConnection
{
public:
    enum class State
    {
        Open,
        /** The tool is gone, or does not read what it is sent: to be closed. */
        Lost
    };

    /** Bytes that may wait for a tool to read them. */
    static constexpr std::size_t kMaxBacklog = 2 * CliWire::kMaxEventLength;

    /** @param socket a non-blocking one */
    explicit CliConnection(FileDescriptor socket);

    const FileDescriptor& Socket() const noexcept { return m_socket; }

    /** Takes in some of what the tool has sent. */
    State Receive();

    /** The requests that were taken in. */
    CliWire::LineCutter& Requests() noexcept { return m_requests; }

    /** Sends the line behind what still waits; what the socket does not take now waits for Flush. */
    State Send(const std::string& line);

    State Flush();
    bool HasBacklog() const noexcept { return !m_backlog.empty(); }

private:
    const FileDescriptor m_socket;
    CliWire::LineCutter m_requests{CliWire::kMaxRequestLength};
    std::string m_backlog;
};
