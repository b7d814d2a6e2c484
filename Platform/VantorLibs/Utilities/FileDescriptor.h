#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/** Owns one open descriptor and closes it at the end of its scope. Not thread-safe. */
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    ~FileDescriptor() { Reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;

    /** False after a failed open(2) and the like. */
    explicit operator bool() const noexcept { return m_descriptor >= 0; }
    int Get() const noexcept { return m_descriptor; }

    /**
     * Closes the descriptor now. False, with errno set, when close(2) reports a write that failed late. Otherwise errno
     * is left as it was.
     */
    bool Reset() noexcept;

    /** Gives the descriptor away; the caller closes it. */
    int Release() noexcept { return std::exchange(m_descriptor, -1); }

    /** Writes all of the bytes, however many write(2) calls that takes. False, with errno set, when one fails. */
    bool WriteAll(std::string_view bytes) const;

    /** What ReadAll takes unless told otherwise. */
    static constexpr std::size_t kMaxFileBytes = std::size_t{16} * 1024 * 1024;

    /**
     * Appends everything up to the end of the file. False, with errno set, when a read(2) fails, or with EFBIG when
     * there are more than `longest` bytes, of which that many are appended.
     */
    bool ReadAll(std::string& bytes, std::size_t longest = kMaxFileBytes) const;

private:
    int m_descriptor = -1;
};
