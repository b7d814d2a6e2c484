#pragma once

#include <chrono>
#include <string>

#include "CliWire.h"
#include "FileDescriptor.h"

/** The tool's end of a connection to one service. */
class ServiceLink
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Result
    {
        Event,
        TimedOut,
        /** The service closed the connection, or sent what is no event. */
        Gone
    };

    /** @param name of the service @param socket a non-blocking, connected one */
    ServiceLink(std::string name, FileDescriptor socket);

    const std::string& Name() const noexcept { return m_name; }
    int Descriptor() const noexcept { return m_socket.Get(); }

    /** Sends a request. False when the service has gone, or does not take it in time. */
    bool Send(const CliWire::Request& request, Clock::time_point deadline) const;

    /** Waits for the next event; with a deadline that has passed, only looks whether there is one. */
    Result Next(CliWire::Event& event, Clock::time_point deadline);

private:
    std::string m_name;
    FileDescriptor m_socket;
    CliWire::LineCutter m_lines{CliWire::kMaxEventLength};
};
