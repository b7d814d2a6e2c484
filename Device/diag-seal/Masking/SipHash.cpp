#include "SipHash.h"

#include <cstddef>

namespace DiagSeal
{
namespace
{

constexpr std::uint64_t RotateLeft(std::uint64_t value, int bits)
{
    return (value << bits) | (value >> (64 - bits));
}

/** Little-endian, from at most 8 bytes. */
template <typename Bytes>
std::uint64_t Word(const Bytes& bytes, std::size_t from, std::size_t count)
{
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < count; ++i) {
        word |= static_cast<std::uint64_t>(static_cast<std::uint8_t>(bytes[from + i])) << (8 * i);
    }
    return word;
}

/** The names of the paper. */
struct State
{
    std::uint64_t v0, v1, v2, v3;

    void Rounds(int count)
    {
        for (int i = 0; i < count; ++i) {
            v0 += v1;
            v1 = RotateLeft(v1, 13) ^ v0;
            v0 = RotateLeft(v0, 32);
            v2 += v3;
            v3 = RotateLeft(v3, 16) ^ v2;
            v0 += v3;
            v3 = RotateLeft(v3, 21) ^ v0;
            v2 += v1;
            v1 = RotateLeft(v1, 17) ^ v2;
            v2 = RotateLeft(v2, 32);
        }
    }

    void Take(std::uint64_t word)
    {
        v3 ^= word;
        Rounds(2);
        v0 ^= word;
    }
};

} // namespace

std::uint64_t SipHash(const MaskKey& key, std::string_view text)
{
    const std::uint64_t k0 = Word(key, 0, 8);
    const std::uint64_t k1 = Word(key, 8, 8);
    State state{k0 ^ 0x736f6d6570736575, k1 ^ 0x646f72616e646f6d, k0 ^ 0x6c7967656e657261, k1 ^ 0x7465646279746573};
    std::size_t at = 0;
    for (; text.size() - at >= 8; at += 8) {
        state.Take(Word(text, at, 8));
    }
    state.Take(Word(text, at, text.size() - at) | static_cast<std::uint64_t>(text.size()) << 56);
    state.v2 ^= 0xff;
    state.Rounds(4);
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

} // namespace DiagSeal
