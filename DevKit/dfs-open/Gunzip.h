#pragma once

#include "Budget.h"
#include "Fault.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace DfsOpen
{

/**
 * Unpacks a gzip stream (RFC 1952, one or more members) as it arrives, and verifies its checksums. libarchive's filter
 * does not verify them, and they are the only sign of damage that an item carries. Not thread-safe.
 */
class Gunzip
{
public:
    /** What the user is told of a fault. */
    struct Words
    {
        const char* notGzip;   ///< The data does not begin as RFC 1952 has it, or there is none.
        const char* damaged;   ///< The compressed data, its checksum or its length is wrong, or something follows it.
        const char* truncated; ///< The data ends too early.
        const char* tooLarge;  ///< More comes out than the limit allows.
    };

    /** @param limit bytes that may come out @param budget what goes in and comes out is taken off; must outlive this */
    Gunzip(const Words& words, ByteSink sink, std::uint64_t limit, Budget& budget);
    ~Gunzip();

    /** Unpacks the next bytes, less than 4 GiB. @throws Fault, or what the sink throws; then nothing may be fed */
    void Feed(std::string_view bytes);

    /** Ends the stream. @throws Fault unless it was one or more whole gzip members */
    void Finish() const;

    /** Bytes given to the sink so far. */
    std::uint64_t Produced() const { return m_produced; }

private:
    struct Inflater;

    void Deliver(std::string_view bytes);

    const Words m_words;
    std::unique_ptr<Inflater> m_inflater;
    ByteSink m_sink;
    const std::uint64_t m_limit;
    Budget& m_budget;
    std::uint64_t m_produced = 0;
    bool m_isFed = false;
    bool m_insideMember = false;
    bool m_memberEnded = false;
};

} // namespace DfsOpen
