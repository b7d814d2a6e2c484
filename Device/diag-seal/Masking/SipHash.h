#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace DiagSeal
{

/** 16 random bytes. Whoever lacks them can neither foretell nor undo what is made with them. */
using MaskKey = std::array<std::uint8_t, 16>;

/** SipHash-2-4 (Aumasson and Bernstein, "SipHash: a fast short-input PRF"): a keyed hash of short texts. Thread-safe.
 */
std::uint64_t SipHash(const MaskKey& key, std::string_view text);

} // namespace DiagSeal
