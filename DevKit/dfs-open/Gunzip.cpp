#include "Gunzip.h"

#include <zlib.h>

#include <array>
#include <new>
#include <utility>

namespace DfsOpen
{

// Added to the window size: zlib takes the gzip format and no other.
constexpr int kGzipOnly = 16;
constexpr std::size_t kOutputChunk = std::size_t{64} * 1024;

struct Gunzip::Inflater
{
    Inflater()
    {
        if (inflateInit2(&stream, MAX_WBITS + kGzipOnly) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Inflater() { inflateEnd(&stream); }

    z_stream stream{};
    std::array<char, kOutputChunk> output{};
};

Gunzip::Gunzip(const Words& words, ByteSink sink, std::uint64_t limit, Budget& budget)
    : m_words(words),
      m_inflater(std::make_unique<Inflater>()),
      m_sink(std::move(sink)),
      m_limit(limit),
      m_budget(budget)
{}

Gunzip::~Gunzip() = default;

void Gunzip::Feed(std::string_view bytes)
{
    m_budget.Spend(bytes.size());
    m_isFed = m_isFed || !bytes.empty();
    z_stream& stream = m_inflater->stream;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());

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
        Deliver({m_inflater->output.data(), kOutputChunk - stream.avail_out});
        if (result == Z_STREAM_END) {
            m_insideMember = false;
            m_memberEnded = true;
            stream.avail_out = kOutputChunk;
        } else if (result == Z_BUF_ERROR) {
            break;
        } else if (result != Z_OK) {
            // A fault in the ten bytes that every gzip member begins with means that this is something else.
            constexpr uLong kFixedHeader = 10;
            const bool neverGzip = !m_memberEnded && stream.total_in <= kFixedHeader;
            throw Fault(Outcome::Damaged, neverGzip ? m_words.notGzip : m_words.damaged);
        }
    }
}

void Gunzip::Finish() const
{
    if (!m_isFed || m_insideMember) {
        throw Fault(Outcome::Damaged, m_isFed ? m_words.truncated : m_words.notGzip);
    }
}

void Gunzip::Deliver(std::string_view bytes)
{
    if (bytes.size() > m_limit - m_produced) {
        throw Fault(Outcome::Refused, m_words.tooLarge);
    }
    m_budget.Spend(bytes.size());
    if (!bytes.empty()) {
        m_sink(bytes);
    }
    m_produced += bytes.size();
}

} // namespace DfsOpen
