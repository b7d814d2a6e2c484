#include "GzipStream.h"

#include <array>
#include <new>
#include <utility>

namespace DiagSeal
{

GzipStream::GzipStream(int level, Sink sink) : m_sink(std::move(sink))
{
    // 15 is the largest window; 16 more asks for gzip's header.
    constexpr int kWindow = 15 + 16;
    constexpr int kMemoryLevel = 8;
    if (deflateInit2(&m_stream, level, Z_DEFLATED, kWindow, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
}

GzipStream::~GzipStream()
{
    deflateEnd(&m_stream);
}

void GzipStream::Write(std::string_view bytes)
{
    Compress(bytes, Z_NO_FLUSH);
}

void GzipStream::Finish()
{
    Compress({}, Z_FINISH);
}

void GzipStream::Compress(std::string_view bytes, int flush)
{
    constexpr std::size_t kPieceSize = 16384;
    std::array<char, kPieceSize> piece;
    m_stream.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    m_stream.avail_in = static_cast<uInt>(bytes.size());
    do {
        m_stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        m_stream.avail_out = static_cast<uInt>(piece.size());
        deflate(&m_stream, flush);
        const std::size_t size = piece.size() - m_stream.avail_out;
        if (size > 0) {
            m_sink({piece.data(), size});
        }
    } while (m_stream.avail_out == 0);
}

} // namespace DiagSeal
