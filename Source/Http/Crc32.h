#pragma once

#include <cstdint>
#include <string_view>

namespace Http
{
/**
 * A CRC with the polynomial 0x04C11DB7, most significant bit first, in its augmented, direct-shift form: it tells
 * whether two contents differ and is no CRC that other programs compute. Contents of less than 4 bytes all give 0.
 */
class Crc32
{
public:
    static std::uint32_t Calculate(std::string_view bytes);
};
} // namespace Http
