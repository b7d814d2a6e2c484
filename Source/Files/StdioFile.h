#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

/** What the readers and writers of whole files share. Nothing is logged here. */
namespace Files
{
/** In bytes. Reading stops beyond it unless the caller sets another bound: no file of this product is larger. */
inline constexpr std::size_t kMaxFileSize = std::size_t{16} << 20U;

struct StdioFileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/** Owns a file of the C library. */
using StdioFile = std::unique_ptr<std::FILE, StdioFileCloser>;

/**
 * The file open for reading, close-on-exec; a pipe that nobody writes to is at its end. Null, with errno set, when it
 * cannot be opened. Thread-safe.
 */
StdioFile OpenForReading(const std::string& path);

/**
 * Appends the rest of the file to the content.
 *
 * @throws std::system_error when reading fails, or when the content has become larger than maxSize, by one byte. The
 *         content then holds what has been read.
 *
 * Blocks.
 */
void ReadAll(std::FILE* file, std::string& content, std::size_t maxSize = kMaxFileSize);
} // namespace Files
