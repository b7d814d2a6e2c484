#include "Gunzip.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <utility>

namespace DfsOpen
{

namespace
{

constexpr int kGzipOnly = 16; // added to the window size, it has zlib take the gzip format and no other
constexpr std::size_t kOutputChunk = std::size_t{64} * 1024;

} // namespace

struct Gunzip::Inflater
{
    Inflater()
    {
        if (inflateInit2(&stream, MAX_WBITS + kGzipOnly) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Inflater() { inflateEnd(&stream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    z_stream stream{};
    std::array<char, kOutputChunk> output{};
};

Gunzip::Gunzip(ByteSink sink, std::uint64_t limit, Budget& budget)
    : m_inflater(std::make_unique<Inflater>()), m_sink(std::move(sink)), m_limit(limit), m_budget(budget)
{}

Gunzip::~Gunzip() = default;

GunzipStatus Gunzip::Feed(const char* data, std::size_t size)
{
    constexpr std::size_t kMost = std::numeric_limits<uInt>::max();
    while (m_status == GunzipStatus::kOk && size > 0) {
        const std::size_t part = std::min(size, kMost);
        m_isFed = true;
        m_status = m_budget.Spend(part) ? Inflate(data, part) : GunzipStatus::kExhausted;
        data += part;
        size -= part;
    }
    return m_status;
}

GunzipStatus Gunzip::Finish()
{
    if (m_status == GunzipStatus::kOk && !m_isFed) {
        m_status = GunzipStatus::kNotGzip;
    } else if (m_status == GunzipStatus::kOk && m_insideMember) {
        m_status = GunzipStatus::kTruncated;
    }
    return m_status;
}

GunzipStatus Gunzip::Inflate(const char* data, std::size_t size)
{
    z_stream& stream = m_inflater->stream;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    stream.avail_in = static_cast<uInt>(size);

    while (stream.avail_in > 0 || stream.avail_out == 0) {
        if (!m_insideMember) {
            if (stream.avail_in == 0) {
                break;
            }
            m_insideMember = true;
            inflateReset(&stream);
        }
        stream.next_out = reinterpret_cast<Bytef*>(m_inflater->output.data());
        stream.avail_out = kOutputChunk;
        const int result = inflate(&stream, Z_NO_FLUSH);
        const GunzipStatus delivered = Deliver(m_inflater->output.data(), kOutputChunk - stream.avail_out);
        if (delivered != GunzipStatus::kOk) {
            return delivered;
        }
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            // A fault in the ten bytes that every gzip member begins with means that this is something else.
            constexpr uLong kFixedHeader = 10;
            const bool neverGzip = !m_memberEnded && stream.total_in <= kFixedHeader;
            return neverGzip ? GunzipStatus::kNotGzip : GunzipStatus::kDamaged;
        }
        if (result == Z_STREAM_END) {
            m_insideMember = false;
            m_memberEnded = true;
            stream.avail_out = kOutputChunk;
        } else if (result == Z_BUF_ERROR) {
            break;
        }
    }
    return GunzipStatus::kOk;
}

GunzipStatus Gunzip::Deliver(const char* data, std::size_t size)
{
    if (size > m_limit - m_produced) {
        return GunzipStatus::kTooLarge;
    }
    if (!m_budget.Spend(size)) {
        return GunzipStatus::kExhausted;
    }
    if (size > 0 && !m_sink(data, size)) {
        return GunzipStatus::kSinkFull;
    }
    m_produced += size;
    return GunzipStatus::kOk;
}

} // namespace DfsOpen
