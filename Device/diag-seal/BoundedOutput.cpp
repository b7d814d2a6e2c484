#include "BoundedOutput.h"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <utility>

namespace DiagSeal
{

namespace
{

constexpr std::size_t kPieceSize = 32768;

// As zlib's compress2, but with tables of 64 KiB, not 256.
std::string Pack(std::string_view bytes)
{
    constexpr int kWindow = 13;
    constexpr int kMemoryLevel = 6;
    z_stream deflater = {};
    if (deflateInit2(&deflater, Z_BEST_SPEED, Z_DEFLATED, kWindow, kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    std::string packed(deflateBound(&deflater, bytes.size()), '\0');
    deflater.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    deflater.avail_in = static_cast<uInt>(bytes.size());
    deflater.next_out = reinterpret_cast<Bytef*>(packed.data());
    deflater.avail_out = static_cast<uInt>(packed.size());
    deflate(&deflater, Z_FINISH);
    const std::size_t size = deflater.total_out;
    deflateEnd(&deflater);
    // A copy, as the string itself has room for the worst case.
    return packed.substr(0, size);
}

std::string Unpack(const std::string& packed, std::size_t size)
{
    std::string bytes(size, '\0');
    uLongf length = size;
    if (uncompress(reinterpret_cast<Bytef*>(bytes.data()), &length, reinterpret_cast<const Bytef*>(packed.data()),
                   packed.size()) != Z_OK) {
        throw std::bad_alloc();
    }
    return bytes;
}

} // namespace

std::string MissingLine(std::uint64_t bytes)
{
    return "\ndiag-seal: " + std::to_string(bytes) + " bytes are missing here\n";
}

BoundedOutput::BoundedOutput(std::uint64_t size, Sink sink) : m_size(size), m_sink(std::move(sink)) {}

void BoundedOutput::Write(std::string_view bytes)
{
    const std::uint64_t half = m_size - m_size / 2;
    if (m_passed < half) {
        const auto head =
            bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(half - m_passed, bytes.size())));
        Pass(head);
        bytes.remove_prefix(head.size());
    }
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, kPieceSize - m_current.size());
        m_current += part;
        bytes.remove_prefix(part.size());
        if (m_current.size() == kPieceSize) {
            PackCurrent();
        }
    }
}

void BoundedOutput::Finish()
{
    PackCurrent();
    const std::uint64_t room = m_size - m_passed;
    std::uint64_t excess = m_waiting > room ? m_waiting - room : 0;
    if (m_missing + excess > 0) {
        m_sink(MissingLine(m_missing + excess));
    }
    while (!m_pieces.empty()) {
        const std::string bytes = TakeOldest();
        const auto skipped = static_cast<std::size_t>(std::min<std::uint64_t>(excess, bytes.size()));
        excess -= skipped;
        Pass(std::string_view(bytes).substr(skipped));
    }
}

void BoundedOutput::Pass(std::string_view bytes)
{
    m_passed += bytes.size();
    m_sink(bytes);
}

void BoundedOutput::PackCurrent()
{
    if (m_current.empty()) {
        return;
    }
    m_pieces.push_back({Pack(m_current), m_current.size()});
    m_packed += m_pieces.back().packed.size();
    m_waiting += m_current.size();
    m_current.clear();
    MakeRoom();
}

// Only whole pieces go: what is in excess of the bound by less is left out in the end.
void BoundedOutput::MakeRoom()
{
    for (;;) {
        const bool isOver = m_missing > 0 || m_passed + m_waiting > m_size;
        if (!isOver && m_packed > kPackedSize) {
            Pass(TakeOldest());
        } else if (isOver && (m_packed > kPackedSize || m_waiting - m_pieces.front().size >= m_size - m_passed)) {
            m_missing += m_pieces.front().size;
            TakeOldest();
        } else {
            return;
        }
    }
}

std::string BoundedOutput::TakeOldest()
{
    const Piece piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    m_packed -= piece.packed.size();
    m_waiting -= piece.size;
    return Unpack(piece.packed, piece.size);
}

} // namespace DiagSeal
