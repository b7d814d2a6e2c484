#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace DiagSeal
{

/** 16 random bytes. Without them, nobody can foretell or undo what is made with them. */
using MaskKey = std::array<std::uint8_t, 16>;

/** SipHash-2-4 (Aumasson and Bernstein, "SipHash: a fast short-input PRF"), for short texts. Thread-safe. */
std::uint64_t SipHash(const MaskKey& key, std::string_view text);

} // namespace DiagSeal
