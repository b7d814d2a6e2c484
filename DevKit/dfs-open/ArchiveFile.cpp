#include "ArchiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace DfsOpen
{

FileDescriptor OpenArchive(const std::string& path)
{
    // Opening a named pipe must not block.
    FileDescriptor archive(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!archive) {
        throw std::invalid_argument("cannot open " + path + ": " + std::generic_category().message(errno));
    }
    struct stat status
    {};
    if (fstat(archive.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw std::invalid_argument(path + " is not a regular file");
    }
    return archive;
}

} // namespace DfsOpen
