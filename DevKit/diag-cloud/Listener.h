#pragma once

#include "FileDescriptor.h"

#include <cstdint>
#include <vector>

namespace DiagCloud
{

/** Listening TCP sockets on the loopback addresses 127.0.0.1 and, where the machine has it, ::1. */
struct Listener
{
    std::vector<FileDescriptor> sockets; //!< Non-blocking.
    std::uint16_t port = 0;
};

/** @param port 0 for any that is free on all addresses @throws std::system_error when the port cannot be had */
Listener Listen(std::uint16_t port);

} // namespace DiagCloud
