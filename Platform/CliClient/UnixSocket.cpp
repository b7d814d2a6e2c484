#include "UnixSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr int kBacklog = 16;

[[noreturn]] void ThrowErrno(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

void MakeFolders(const std::string& path)
{
    const std::size_t last = path.rfind('/');
    for (std::size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        const std::string folder = path.substr(0, at);
        if (::mkdir(folder.c_str(), at == last ? 0700 : 0755) != 0 && errno != EEXIST) {
            ThrowErrno("cannot make " + folder);
        }
    }
}

// Calls bind(2) or connect(2), whose parameters are alike.
template <class Call>
bool WithAddress(Call call, const FileDescriptor& socket, const std::string& path)
{
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    return socket && call(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

FileDescriptor NewSocket()
{
    return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}
} // namespace

FileDescriptor UnixSocket::Listen(const std::string& path)
{
    MakeFolders(path);
    if (Connect(path)) {
        throw std::runtime_error("another process listens on " + path);
    }
    if (errno != ECONNREFUSED && errno != ENOENT) {
        ThrowErrno("cannot use " + path);
    }
    const std::string newPath = path + ".new";
    ::unlink(newPath.c_str());
    FileDescriptor socket = NewSocket();
    if (!WithAddress(::bind, socket, newPath) || ::chmod(newPath.c_str(), 0600) != 0 ||
        ::listen(socket.Get(), kBacklog) != 0 || ::rename(newPath.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(newPath.c_str());
        errno = error;
        ThrowErrno("cannot listen on " + path);
    }
    return socket;
}

FileDescriptor UnixSocket::Connect(const std::string& path)
{
    FileDescriptor socket = NewSocket();
    if (!WithAddress(::connect, socket, path)) {
        socket.Reset();
    }
    return socket;
}
