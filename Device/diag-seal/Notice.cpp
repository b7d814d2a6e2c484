#include "Notice.h"

#include <cstdio>
#include <sys/stat.h>
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

} // namespace

void Notice(const std::string& text)
{
    if (CommonOutput() != 0) {
        syslog(LOG_WARNING, "%s", text.c_str());
    } else {
        std::fprintf(stderr, "diag-seal: %s\n", text.c_str());
    }
}

void TellFailure(const std::string& text)
{
    std::fprintf(stderr, "diag-seal: %s\n", text.c_str());
    if (S_ISREG(CommonOutput())) {
        syslog(LOG_ERR, "%s", text.c_str());
    }
}

} // namespace DiagSeal
