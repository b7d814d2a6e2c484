#pragma once

#include <cstdint>

namespace DfsOpen
{

constexpr std::uint64_t kMebibyte = std::uint64_t{1024} * 1024;

/** How much of an archive is opened before it is taken for an attack. All sizes are in bytes. */
struct Limits
{
    /** Members of the archive, the manifest among them. */
    std::uint64_t members = 1000;
    std::uint64_t manifestSize = kMebibyte;
    /** What the archive's own gzip layer may unpack to. */
    std::uint64_t tarSize = 8192 * kMebibyte;
    /** One member as the archive stores it, and its encrypted message, which is held in memory. */
    std::uint64_t sealedSize = 256 * kMebibyte;
    /** One item's plain content. */
    std::uint64_t plainSize = 1024 * kMebibyte;
    /** All items' plain content together. */
    std::uint64_t totalPlainSize = 8192 * kMebibyte;
    /**
     * Plain bytes for each byte of the compressed message, looked at from ratioFrom plain bytes on; 0 for no bound.
     * gzip reaches 1032 on a file of one repeated byte, a log 5 to 20.
     */
    std::uint64_t plainRatio = 300;
    std::uint64_t ratioFrom = 64 * kMebibyte;
};

} // namespace DfsOpen
