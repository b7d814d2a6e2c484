#pragma once

#include <unistd.h>

#include <utility>

namespace DevKit
{

/** Owns a file descriptor; -1 for none. */
class FileDescriptor
{
public:
    explicit FileDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    ~FileDescriptor() { Close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    int Get() const { return m_descriptor; }
    bool IsOpen() const { return m_descriptor >= 0; }

    /** Gives it away; the caller closes it. */
    int Release() { return std::exchange(m_descriptor, -1); }

    /** Closes it; false when the file system reports a failed write that late. */
    bool Close() { return m_descriptor < 0 || close(std::exchange(m_descriptor, -1)) == 0; }

private:
    int m_descriptor;
};

} // namespace DevKit
