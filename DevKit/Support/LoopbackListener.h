#pragma once

#include <cstdint>
#include <vector>

#include "FileDescriptor.h"

/** Listening TCP sockets on the loopback addresses 127.0.0.1 and, where the machine has it, ::1. */
struct LoopbackListener
{
    std::vector<FileDescriptor> sockets; //!< Non-blocking.
    std::uint16_t port = 0;
};

/** @param port 0 for any that is free on all addresses @throws std::system_error when the port cannot be had */
LoopbackListener ListenOnLoopback(std::uint16_t port);

/** Whether a connected socket belongs to the IPv6 address, not to the IPv4 one. */
bool IsIPv6(const FileDescriptor& socketFd);
