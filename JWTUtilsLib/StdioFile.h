#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

/** What the readers and writers of whole files share. Any thread may call; nothing is logged here. */
namespace JwtUtils
{
/** The size in bytes beyond which reading stops unless told otherwise: what is larger is no file of this product. */
inline constexpr std::size_t kMaxFileSize = std::size_t{16} << 20U;

struct StdioFileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/** Owns a file of the C library. */
using StdioFile = std::unique_ptr<std::FILE, StdioFileCloser>;

/** The file open for reading, close-on-exec and without waiting for the other end of a pipe; null, with errno set, when
 * it cannot be. */
StdioFile OpenForReading(const std::string& path);

/**
 * Appends the file, to its end, to the content.
 *
 * @throws std::system_error when reading fails, or when the content has become larger than maxSize, by one byte. What
 *         has been read is in the content by then.
 */
void ReadAll(std::FILE* file, std::string& content, std::size_t maxSize = kMaxFileSize);
} // namespace JwtUtils
