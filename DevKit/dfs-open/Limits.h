#pragma once

#include <cstdint>
#include <limits>

namespace DfsOpen
{

constexpr std::uint64_t kMebibyte = std::uint64_t{1024} * 1024;

/** How much of an archive is opened before it is taken for an attack. All sizes are in bytes. */
struct Limits
{
    std::uint64_t members = 2000; ///< Of the archive, the manifest among them; also entries of the manifest.
    std::uint64_t manifestSize = kMebibyte;
    /**
     * One member as the archive stores it, and its encrypted message, which is held in memory. The device encrypts
     * 64 MiB of a file at the most.
     */
    std::uint64_t sealedSize = 80 * kMebibyte;
    std::uint64_t plainSize = 1024 * kMebibyte; ///< One item's plain content.
    std::uint64_t totalSize = 4096 * kMebibyte; ///< What all layers of all members take in and give out together.
    /** Processor time for the whole archive, in seconds: compressed data can be made to unpack slowly to nothing. */
    std::uint64_t processorSeconds = 4;

    /** Accepts items of that size, and any amount of work. */
    void Lift(std::uint64_t newPlainSize)
    {
        plainSize = newPlainSize;
        totalSize = processorSeconds = std::numeric_limits<std::uint64_t>::max();
    }
};

} // namespace DfsOpen
