#include "Notice.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>

namespace DiagSeal
{

void Notice(const std::string& text)
{
    struct stat output = {};
    struct stat error = {};
    const bool isOneFile = fstat(STDOUT_FILENO, &output) == 0 && fstat(STDERR_FILENO, &error) == 0 &&
                           output.st_dev == error.st_dev && output.st_ino == error.st_ino;
    if (isOneFile) {
        syslog(LOG_WARNING, "%s", text.c_str());
    } else {
        std::fprintf(stderr, "diag-seal: %s\n", text.c_str());
    }
}

} // namespace DiagSeal
