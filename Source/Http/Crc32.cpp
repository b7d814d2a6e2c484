#include "Crc32.h"

#include <array>

namespace Http
{
namespace
{
constexpr std::uint32_t kPolynomial = 0x04C11DB7;

constexpr std::array<std::uint32_t, 256> MakeTable()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t entry = i << 24;
        for (int bit = 0; bit < 8; ++bit) {
            entry = (entry << 1) ^ ((entry & 0x80000000) != 0 ? kPolynomial : 0);
        }
        table[i] = entry;
    }
    return table;
}

// Made by the compiler: there is no first use that threads could race for.
constexpr std::array<std::uint32_t, 256> kTable = MakeTable();
} // namespace

std::uint32_t Crc32::Calculate(std::string_view bytes)
{
    constexpr std::size_t kRegisterSize = 4;
    if (bytes.size() < kRegisterSize) {
        return 0;
    }
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(0, kRegisterSize)) {
        value = (value << 8) | static_cast<unsigned char>(byte);
    }
    if (bytes.size() == kRegisterSize) {
        return value;
    }
    value = ~value;
    for (const char byte : bytes.substr(kRegisterSize)) {
        value = ((value << 8) | static_cast<unsigned char>(byte)) ^ kTable[value >> 24];
    }
    return ~value;
}
} // namespace Http
