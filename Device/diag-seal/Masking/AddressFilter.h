#pragma once

#include "Pseudonyms.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * Puts pseudonyms in the place of addresses that lead to a person or a household.
 *
 * MAC addresses keep their maker's half, also within the names that systemd.net-naming-scheme(7) gives to interfaces,
 * in identifiers of DHCP and in EUI-64 (RFC 4291, appendix A).
 * Of IP addresses, those of the public internet become "[ip:...]"; documentation addresses count as public. Private,
 * shared (RFC 6598), loopback, link-local and multicast ones stay; but an interface identifier that spells a MAC
 * address (RFC 4291, appendix A) follows the rule for MAC addresses. Linear in time. Not thread-safe.
 */
class AddressFilter
{
public:
    explicit AddressFilter(const Pseudonyms& pseudonyms) : m_pseudonyms(pseudonyms) {}

    /** Appends to `out` the part of the line from `begin` to `end`. What stands around it tells where a word begins. */
    void Append(std::string_view line, std::size_t begin, std::size_t end, std::string& out) const;

private:
    using Text = std::optional<std::string>;

    std::size_t AddressAt(std::string_view line, std::size_t begin, std::size_t end, bool beginsWord, Text& text) const;
    Text OfRun(std::string_view before, std::string_view run) const;
    Text OfPairs(std::string_view pairs) const;
    std::string OfMac(std::string_view text) const;
    Text OfIpv4(std::string_view before, std::string_view text) const;
    Text OfIpv4WithPort(std::string_view text) const;
    Text OfIpv6(std::string_view text) const;

    const Pseudonyms& m_pseudonyms;
};

} // namespace DiagSeal
