#include "LoopbackListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace
{

/** Binds and listens; on failure the descriptor is closed and errno tells why. */
FileDescriptor ListenOn(int family, const sockaddr* address, socklen_t length)
{
    FileDescriptor socketFd(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    if (socketFd && setsockopt(socketFd.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) == 0 &&
        (family != AF_INET6 || setsockopt(socketFd.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof(on)) == 0) &&
        bind(socketFd.Get(), address, length) == 0 && listen(socketFd.Get(), SOMAXCONN) == 0) {
        return socketFd;
    }
    const int error = errno;
    socketFd.Reset();
    errno = error;
    return FileDescriptor();
}

FileDescriptor ListenOnIPv4(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ListenOn(AF_INET, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

FileDescriptor ListenOnIPv6(std::uint16_t port)
{
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    return ListenOn(AF_INET6, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

std::uint16_t PortOf(const FileDescriptor& socketFd)
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    getsockname(socketFd.Get(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

} // namespace

LoopbackListener ListenOnLoopback(std::uint16_t port)
{
    constexpr int kAttempts = 10; // a port that is free on one address may be taken on the other
    for (int attempt = 1;; ++attempt) {
        FileDescriptor four = ListenOnIPv4(port);
        if (!four) {
            throw std::system_error(errno, std::generic_category(),
                                    "cannot listen on 127.0.0.1:" + std::to_string(port));
        }
        LoopbackListener listener;
        listener.port = PortOf(four);
        listener.sockets.push_back(std::move(four));
        FileDescriptor six = ListenOnIPv6(listener.port);
        if (six) {
            listener.sockets.push_back(std::move(six));
        } else if (errno == EADDRINUSE && port == 0 && attempt < kAttempts) {
            continue;
        } else if (errno == EADDRINUSE) {
            throw std::system_error(errno, std::generic_category(), "cannot listen on [::1]:" + std::to_string(port));
        }
        return listener;
    }
}

bool IsIPv6(const FileDescriptor& socketFd)
{
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    getsockname(socketFd.Get(), reinterpret_cast<sockaddr*>(&address), &length);
    return address.ss_family == AF_INET6;
}
