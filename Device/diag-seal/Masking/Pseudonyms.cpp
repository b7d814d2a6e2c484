#include "Pseudonyms.h"

#include <algorithm>

namespace DiagSeal
{

std::string Pseudonyms::Of(std::string_view kind, std::string_view value) const
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::uint64_t hash = Hash(kind, value);
    std::string name;
    name.reserve(kind.size() + 11);
    name.append("[").append(kind).append(":");
    for (int i = 0; i < 8; ++i, hash >>= 4) {
        name += kDigits[hash & 15];
    }
    name += ']';
    return name;
}

Pseudonyms::Mac Pseudonyms::OfMac(const Mac& mac) const
{
    // The bit for groups is no help: in half of Bluetooth's random addresses it is set as well.
    const bool isGroup = mac[0] == 1 || (mac[0] == 0x33 && mac[1] == 0x33) ||
                         std::all_of(mac.begin(), mac.end(), [](std::uint8_t byte) { return byte == 0xff; });
    if (isGroup || mac == Mac{}) {
        return mac;
    }
    const std::uint64_t hash = Hash("mac", {reinterpret_cast<const char*>(mac.data()), mac.size()});
    return {mac[0],
            mac[1],
            mac[2],
            static_cast<std::uint8_t>(hash),
            static_cast<std::uint8_t>(hash >> 8),
            static_cast<std::uint8_t>(hash >> 16)};
}

std::uint64_t Pseudonyms::Hash(std::string_view kind, std::string_view value) const
{
    std::string text;
    text.reserve(kind.size() + 1 + value.size());
    text += kind;
    text += '\0';
    text += value;
    return SipHash(m_key, text);
}

} // namespace DiagSeal
