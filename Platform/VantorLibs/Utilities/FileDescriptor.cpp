#include "FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <unistd.h>

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept
{
    if (this != &other) {
        Reset();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

bool FileDescriptor::Reset() noexcept
{
    if (m_descriptor < 0) {
        return true;
    }
    const int error = errno;
    if (::close(std::exchange(m_descriptor, -1)) != 0) {
        return false;
    }
    errno = error;
    return true;
}

bool FileDescriptor::WriteAll(std::string_view bytes) const
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(m_descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

bool FileDescriptor::ReadAll(std::string& bytes, std::size_t longest) const
{
    std::array<char, 16384> chunk;
    while (true) {
        const ssize_t got = ::read(m_descriptor, chunk.data(), chunk.size());
        if (got > 0) {
            const std::size_t taken = std::min(static_cast<std::size_t>(got), longest);
            bytes.append(chunk.data(), taken);
            longest -= taken;
            if (taken < static_cast<std::size_t>(got)) {
                errno = EFBIG;
                return false;
            }
        } else if (got == 0) {
            return true;
        } else if (errno != EINTR) {
            return false;
        }
    }
}
