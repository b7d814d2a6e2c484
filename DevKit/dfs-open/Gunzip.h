#pragma once

#include "ByteSink.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace DfsOpen
{

enum class GunzipStatus
{
    kOk,
    kNotGzip,   //!< The data does not begin as RFC 1952 has it, or there is none.
    kDamaged,   //!< The compressed data, its checksum or its length is wrong, or something else follows it.
    kTruncated, //!< The data ends too early.
    kTooLarge,  //!< More comes out than the bounds allow.
    kSinkFull,  //!< The sink took no more.
};

/** Bounds on the bytes that come out of a Gunzip. */
struct GunzipBounds
{
    std::uint64_t size = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t ratio = 0;     //!< Bytes out for each byte in, 0 for no bound, ...
    std::uint64_t ratioFrom = 0; //!< ... once so many bytes are out.
};

/**
 * Unpacks a gzip stream (RFC 1952; several gzip members in a row are one stream) as it arrives, and verifies the
 * checksum and the length at its end. One thread at a time.
 *
 * libarchive's gzip filter does not look at the checksum, which is the only sign of damage that an item carries: this
 * uses zlib instead.
 */
class Gunzip
{
public:
    Gunzip(ByteSink sink, const GunzipBounds& bounds);
    ~Gunzip();
    Gunzip(const Gunzip&) = delete;
    Gunzip& operator=(const Gunzip&) = delete;

    /** Unpacks the next bytes into the sink. The first status but kOk stays. */
    GunzipStatus Feed(const char* data, std::size_t size);

    /** Tells that all data was fed: kOk only if it was one or more whole gzip members. */
    GunzipStatus Finish();

    /** Bytes given to the sink so far. */
    std::uint64_t Produced() const { return m_produced; }

private:
    struct Inflater;

    GunzipStatus Inflate(const char* data, std::size_t size);
    GunzipStatus Deliver(const char* data, std::size_t size);

    std::unique_ptr<Inflater> m_inflater;
    ByteSink m_sink;
    GunzipBounds m_bounds;
    GunzipStatus m_status = GunzipStatus::kOk;
    std::uint64_t m_consumed = 0;
    std::uint64_t m_produced = 0;
    bool m_insideMember = false;
    bool m_memberEnded = false;
};

} // namespace DfsOpen
