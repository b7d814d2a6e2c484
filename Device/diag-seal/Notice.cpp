#include "Notice.h"

#include "Descriptor.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <paths.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

// The mode of what both standard output and standard error go to, see inode(7); 0 if they go to different places.
mode_t CommonOutput()
{
    struct stat output = {};
    struct stat error = {};
    const bool isOne = fstat(STDOUT_FILENO, &output) == 0 && fstat(STDERR_FILENO, &error) == 0 &&
                       output.st_dev == error.st_dev && output.st_ino == error.st_ino;
    return isOne ? output.st_mode : 0;
}

// As syslog(3) writes it, but without a wait: a log that nobody reads must not keep an item. Its line is lost then.
void WriteToLog(int priority, const std::string& text)
{
    const Descriptor log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, _PATH_LOG, sizeof(address.sun_path) - 1);
    std::array<char, 32> time{};
    tm local = {};
    const std::time_t now = std::time(nullptr);
    std::strftime(time.data(), time.size(), "%b %e %T", localtime_r(&now, &local));
    const std::string line = "<" + std::to_string(LOG_USER | priority) + ">" + time.data() + " diag-seal: " + text;
    sendto(log.Get(), line.data(), line.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
           sizeof(address));
}

} // namespace

void Notice(const std::string& text)
{
    if (CommonOutput() != 0) {
        WriteToLog(LOG_WARNING, text);
    } else {
        std::fprintf(stderr, "diag-seal: %s\n", text.c_str());
    }
}

void TellFailure(const std::string& text)
{
    std::fprintf(stderr, "diag-seal: %s\n", text.c_str());
    if (S_ISREG(CommonOutput())) {
        WriteToLog(LOG_ERR, text);
    }
}

} // namespace DiagSeal
