#pragma once

#include "SipHash.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * Pseudonyms of addresses and names: the same for the same value and key. Without the key they tell nothing. Not
 * thread-safe.
 */
class Pseudonyms
{
public:
    using Mac = std::array<std::uint8_t, 6>;

    explicit Pseudonyms(const MaskKey& key) : m_key(key) {}

    /** "[KIND:8 hex digits]". Values of different kinds have nothing in common. */
    std::string Of(std::string_view kind, std::string_view value) const;

    /** The address with its last three bytes replaced. Addresses of groups and the address of zeros stay. */
    Mac OfMac(const Mac& mac) const;

private:
    std::uint64_t Hash(std::string_view kind, std::string_view value) const;

    MaskKey m_key;
};

} // namespace DiagSeal
