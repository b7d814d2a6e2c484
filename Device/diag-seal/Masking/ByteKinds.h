#pragma once

#include "Continuation.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace DiagSeal
{

/** Sorts bytes into 32 kinds. Those that often stand beside a name each have one of their own. Thread-safe. */
class ByteKinds
{
public:
    ByteKinds();

    /** The kind of the byte, as one bit. */
    std::uint32_t Of(char c) const { return std::uint32_t{1} << m_kinds[static_cast<unsigned char>(c)]; }

    /** The kinds of these bytes, a bit each. */
    std::uint32_t Of(const ByteSet& bytes) const;

private:
    static constexpr std::size_t kKinds = 32;

    std::array<std::uint8_t, 256> m_kinds{};
    std::array<ByteSet, kKinds> m_bytes{}; ///< by kind
};

} // namespace DiagSeal
