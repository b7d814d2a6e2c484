#include "FileCopy.h"

#include "BoundedOutput.h"
#include "ErrorText.h"
#include "RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

// Room for the line on what is missing.
constexpr std::uint64_t kLineSize = 64;

void WriteAll(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t size = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (size < 0 && errno != EINTR) {
            throw std::runtime_error(ErrorText());
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }
}

} // namespace

std::string CopyFile(const std::string& path, std::uint64_t size)
{
    RegularFile file(path);
    std::string shorter = path + ": it has become shorter while it was read";
    if (file.Size() > size) {
        const std::uint64_t tail = size / 2;
        const std::uint64_t head = size - tail - kLineSize;
        file.Read(head, WriteAll);
        WriteAll(MissingLine(file.Size() - head - tail));
        file.Seek(file.Size() - tail);
        return file.Read(tail, WriteAll) == tail ? "" : shorter;
    }
    if (file.Read(size, WriteAll) < file.Size() && file.IsShorter()) {
        return shorter;
    }
    const bool hasMore = file.Read(1, [](std::string_view) {}) > 0;
    return hasMore ? path + ": what follows the first " + std::to_string(size) + " bytes is missing" : "";
}

} // namespace DiagSeal
