#pragma once

#include "FileDescriptor.h"

#include <string>

/** Unix-domain stream sockets, see unix(7). Every descriptor is non-blocking and close-on-exec. */
namespace UnixSocket
{
/**
 * Listens on a socket file of mode 0600, whatever the umask. Missing folders are made: the last for its owner only. The
 * file appears when the socket listens, not before; it takes the place of one whose process is dead.
 *
 * @throws std::runtime_error with the reason; also when another process listens there
 */
FileDescriptor Listen(const std::string& path);

/** Connects without waiting. An empty descriptor, with errno set, when that fails; EAGAIN: the other side is busy. */
FileDescriptor Connect(const std::string& path);
} // namespace UnixSocket
