#pragma once

#include "Budget.h"
#include "ByteSink.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace DfsOpen
{

enum class GunzipStatus
{
    kOk,
    kNotGzip,   //!< The data does not begin as RFC 1952 has it, or there is none.
    kDamaged,   //!< The compressed data, its checksum or its length is wrong, or something else follows it.
    kTruncated, //!< The data ends too early.
    kTooLarge,  //!< More comes out than the limit allows.
    kExhausted, //!< The budget is spent.
    kSinkFull,  //!< The sink took no more.
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
    /**
     * @param limit of the bytes that come out
     * @param budget what goes in and comes out is taken off it; must outlive this
     */
    Gunzip(ByteSink sink, std::uint64_t limit, Budget& budget);
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
    const std::uint64_t m_limit;
    Budget& m_budget;
    GunzipStatus m_status = GunzipStatus::kOk;
    bool m_isFed = false;
    std::uint64_t m_produced = 0;
    bool m_insideMember = false;
    bool m_memberEnded = false;
};

} // namespace DfsOpen
