#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace DiagSeal
{

/** The line that stands for so many missing bytes. It begins with a line break, as it may follow half a line. */
std::string MissingLine(std::uint64_t bytes);

/**
 * Passes on a bounded number of bytes: of a longer output the first and the newest ones. One line between them says how
 * many are missing.
 *
 * The first half passes at once. The newest half waits for the end, compressed. If it does not fit into kPackedSize,
 * the oldest of it passes early while the bound allows. So output within the bound arrives whole, and of longer output
 * that compresses badly the newest part is smaller than half. Not thread-safe.
 */
class BoundedOutput
{
public:
    using Sink = std::function<void(std::string_view)>;

    /** Memory for what waits, in bytes: 4 MiB of a usual log, 8 MiB of a very regular one. */
    static constexpr std::size_t kPackedSize = 512U << 10U;

    /** @param size the bound in bytes */
    BoundedOutput(std::uint64_t size, Sink sink);

    /** Throws what the sink throws, and std::bad_alloc. */
    void Write(std::string_view bytes);

    /** Passes on the line and what waits. The last call. Throws as Write does. */
    void Finish();

private:
    struct Piece
    {
        std::string packed;
        std::size_t size; ///< Of the bytes that are in it.
    };

    void Pass(std::string_view bytes);
    void PackCurrent();
    void MakeRoom();
    std::string TakeOldest();

    std::uint64_t m_size;
    Sink m_sink;
    std::uint64_t m_passed = 0;
    std::uint64_t m_missing = 0;
    std::uint64_t m_waiting = 0; ///< Bytes that are in m_pieces.
    std::size_t m_packed = 0;    ///< What m_pieces takes.
    std::deque<Piece> m_pieces;
    std::string m_current; ///< Becomes the newest piece when it is full.
};

} // namespace DiagSeal
