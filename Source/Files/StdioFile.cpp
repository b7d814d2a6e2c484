#include "StdioFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

Files::StdioFile Files::OpenForReading(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    StdioFile file(descriptor >= 0 ? fdopen(descriptor, "rb") : nullptr);
    if (!file && descriptor >= 0) {
        const int error = errno;
        close(descriptor);
        errno = error;
    }
    return file;
}

void Files::ReadAll(std::FILE* file, std::string& content, std::size_t maxSize)
{
    char chunk[4096];
    while (const std::size_t size = std::fread(chunk, 1, std::min(sizeof chunk, maxSize + 1 - content.size()), file)) {
        content.append(chunk, size);
        if (content.size() > maxSize) {
            throw std::system_error(EFBIG, std::generic_category());
        }
    }
    if (std::ferror(file) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}
