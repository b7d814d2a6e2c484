#pragma once

#include "CliWire.h"
#include "FileDescriptor.h"

#include <chrono>
#include <optional>
#include <string>

namespace Vcli
{

/** The tool's end of a connection to one service. */
class ServiceLink
{
public:
    using Clock = std::chrono::steady_clock;

    /** @param name of the service @param socket a non-blocking, connected one */
    ServiceLink(std::string name, FileDescriptor socket);

    const std::string& Name() const noexcept { return m_name; }
    int Descriptor() const noexcept { return m_socket.Get(); }

    /** False once the service has closed the connection, sent what is no event, or not read a request in time. */
    bool IsOpen() const noexcept { return m_isOpen; }

    void Send(const CliWire::Request& request, Clock::time_point deadline);

    /** Waits for the next event. @return none at the deadline, or when the link is no longer open */
    std::optional<CliWire::Event> Next(Clock::time_point deadline);

private:
    std::string m_name;
    FileDescriptor m_socket;
    bool m_isOpen = true;
    CliWire::LineCutter m_lines{CliWire::kMaxEventLength};
};

} // namespace Vcli
