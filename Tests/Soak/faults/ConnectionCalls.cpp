// Calls on pipes, events and sockets, in place of the C library's. Long waits are shortened, so that a fault which
// costs a retry does not cost its time.

#include "FaultPoint.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr int kLongWaitMilliseconds = 1000;
constexpr int kSpeed = 100;
} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved

extern "C" int pipe(int ends[2]) noexcept
{
    REAL(pipe);
    return IsDue(FaultKind::Pipe, "pipe") ? Fail(EMFILE, -1) : real(ends);
}

extern "C" int pipe2(int ends[2], int flags) noexcept
{
    REAL(pipe2);
    return IsDue(FaultKind::Pipe, "pipe2") ? Fail(EMFILE, -1) : real(ends, flags);
}

extern "C" int eventfd(unsigned int value, int flags) noexcept
{
    REAL(eventfd);
    return IsDue(FaultKind::Eventfd, "eventfd") ? Fail(EMFILE, -1) : real(value, flags);
}

extern "C" int poll(pollfd* entries, nfds_t count, int milliseconds)
{
    REAL(poll);
    if (IsDue(FaultKind::Poll, "poll")) {
        return Fail(ENOMEM, -1);
    }
    return real(entries, count, milliseconds >= kLongWaitMilliseconds ? milliseconds / kSpeed : milliseconds);
}

extern "C" int epoll_wait(int descriptor, epoll_event* events, int count, int milliseconds)
{
    REAL(epoll_wait);
    return IsDue(FaultKind::Poll, "epoll_wait") ? Fail(EINTR, -1) : real(descriptor, events, count, milliseconds);
}

extern "C" int socket(int domain, int type, int protocol) noexcept
{
    REAL(socket);
    return IsDue(FaultKind::Socket, "socket") ? Fail(EMFILE, -1) : real(domain, type, protocol);
}

extern "C" int accept(int descriptor, sockaddr* address, socklen_t* size)
{
    REAL(accept);
    return IsDue(FaultKind::Socket, "accept") ? Fail(EMFILE, -1) : real(descriptor, address, size);
}

extern "C" int accept4(int descriptor, sockaddr* address, socklen_t* size, int flags)
{
    REAL(accept4);
    return IsDue(FaultKind::Socket, "accept4") ? Fail(EMFILE, -1) : real(descriptor, address, size, flags);
}

extern "C" int connect(int descriptor, const sockaddr* address, socklen_t size)
{
    REAL(connect);
    return IsDue(FaultKind::Connect, "connect") ? Fail(ENETUNREACH, -1) : real(descriptor, address, size);
}

extern "C" ssize_t send(int descriptor, const void* bytes, std::size_t size, int flags)
{
    REAL(send);
    if (IsDue(FaultKind::Send, "send")) {
        return Fail(ECONNRESET, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(FaultKind::Send, "send", Part::Some) ? 1 : size, flags);
}

extern "C" ssize_t sendmsg(int descriptor, const msghdr* message, int flags)
{
    REAL(sendmsg);
    return IsDue(FaultKind::Send, "sendmsg") ? Fail(ECONNRESET, ssize_t{-1}) : real(descriptor, message, flags);
}

extern "C" ssize_t recv(int descriptor, void* bytes, std::size_t size, int flags)
{
    REAL(recv);
    if (IsDue(FaultKind::Receive, "recv")) {
        return Fail(ECONNRESET, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(FaultKind::Receive, "recv", Part::Some) ? 1 : size, flags);
}

extern "C" ssize_t recvmsg(int descriptor, msghdr* message, int flags)
{
    REAL(recvmsg);
    return IsDue(FaultKind::Receive, "recvmsg") ? Fail(ECONNRESET, ssize_t{-1}) : real(descriptor, message, flags);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
