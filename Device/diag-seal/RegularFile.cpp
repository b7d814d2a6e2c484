#include "RegularFile.h"

#include "ErrorText.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace DiagSeal
{

namespace
{

const char* Kind(mode_t mode)
{
    switch (mode & S_IFMT) {
        case S_IFDIR:
            return "a folder";
        case S_IFLNK:
            return "a symbolic link";
        case S_IFIFO:
            return "a FIFO";
        case S_IFSOCK:
            return "a socket";
        default:
            return "a device";
    }
}

} // namespace

RegularFile::RegularFile(const std::string& path) : m_path(path)
{
    const Descriptor place(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (place.Get() < 0 || fstat(place.Get(), &status) != 0) {
        Fail(ErrorText());
    }
    if (!S_ISREG(status.st_mode)) {
        Fail(std::string("not a regular file but ") + Kind(status.st_mode));
    }
    // The very file that was looked at, whatever has taken its path since.
    const std::string same = "/proc/self/fd/" + std::to_string(place.Get());
    m_file.Reset(open(same.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (m_file.Get() < 0) {
        Fail(ErrorText());
    }
    m_size = static_cast<std::uint64_t>(std::max<off_t>(status.st_size, 0));
}

std::uint64_t RegularFile::Read(std::uint64_t most, const std::function<void(std::string_view)>& sink)
{
    // A file of the kernel does not tell its size.
    constexpr std::uint64_t kLeast = 4096;
    constexpr std::uint64_t kReadSize = 65536;
    std::vector<char> block(static_cast<std::size_t>(std::clamp(m_size, kLeast, kReadSize)));
    std::uint64_t total = 0;
    while (total < most) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(most - total, block.size()));
        const ssize_t size = read(m_file.Get(), block.data(), wanted);
        // EAGAIN: a file of the kernel has nothing more now.
        if (size == 0 || (size < 0 && errno == EAGAIN)) {
            break;
        }
        if (size < 0) {
            Fail(ErrorText());
        }
        sink({block.data(), static_cast<std::size_t>(size)});
        total += static_cast<std::uint64_t>(size);
    }
    return total;
}

bool RegularFile::IsShorter() const
{
    struct stat status = {};
    return fstat(m_file.Get(), &status) == 0 && static_cast<std::uint64_t>(status.st_size) < m_size;
}

void RegularFile::Seek(std::uint64_t offset)
{
    if (lseek(m_file.Get(), static_cast<off_t>(offset), SEEK_SET) < 0) {
        Fail(ErrorText());
    }
}

void RegularFile::Fail(const std::string& reason) const
{
    throw std::runtime_error(m_path + ": " + reason);
}

} // namespace DiagSeal
