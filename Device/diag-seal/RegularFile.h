#pragma once

#include "Descriptor.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * A regular file, open for reading. Nothing else is ever opened, as opening alone may act on a device or a FIFO. A
 * symbolic link as the last component of the path is refused. Blocks for ever on a dead file system, but never on a
 * file of the kernel. Not thread-safe.
 */
class RegularFile
{
public:
    /** @throws std::runtime_error with the path and the reason */
    explicit RegularFile(const std::string& path);

    /** Bytes, as they were at the opening; 0 for a file of the kernel, whatever it holds. */
    std::uint64_t Size() const { return m_size; }

    /**
     * Reads so many bytes at most, from where the last call ended, and passes them on.
     * @return how many there were
     * @throws std::runtime_error with the path and the reason, and what the sink throws
     */
    std::uint64_t Read(std::uint64_t most, const std::function<void(std::string_view)>& sink);

    /** Whether it has fewer bytes than at its opening. Of some files of the kernel, Size says more than can be read. */
    bool IsShorter() const;

    /** The next Read begins there. @throws std::runtime_error with the path and the reason */
    void Seek(std::uint64_t offset);

private:
    [[noreturn]] void Fail(const std::string& reason) const;

    std::string m_path;
    Descriptor m_file;
    std::uint64_t m_size = 0;
};

} // namespace DiagSeal
