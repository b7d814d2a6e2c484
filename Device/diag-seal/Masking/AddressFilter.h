#pragma once

#include "Pseudonyms.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * Replaces addresses that lead to a person or a household by pseudonyms.
 *
 * MAC addresses keep their maker's half, also in names of interfaces (systemd.net-naming-scheme(7)), in identifiers of
 * DHCP and in EUI-64 (RFC 4291, appendix A).
 *
 * Public IP addresses become "[ip:...]"; addresses for documentation count as public. Private, shared (RFC 6598),
 * loopback, link-local and multicast addresses stay. But if the interface identifier of one spells a MAC address (RFC
 * 4291, appendix A), the rule for MAC addresses holds. Linear in time. Not thread-safe.
 */
class AddressFilter
{
public:
    explicit AddressFilter(const Pseudonyms& pseudonyms) : m_pseudonyms(pseudonyms) {}

    /** Appends to `out` the part of the line from `begin` to `end`. The rest of the line tells where words begin. */
    void Append(std::string_view line, std::size_t begin, std::size_t end, std::string& out) const;

private:
    using Text = std::optional<std::string>;

    /** Empty if a colon stands there. */
    struct Word
    {
        std::size_t begin;
        std::size_t end;
    };

    std::size_t AddressAt(std::string_view line, std::size_t end, Word word, std::size_t& runEnd, Text& text) const;
    Text OfRun(std::string_view before, std::string_view run) const;
    Text OfPairs(std::string_view pairs) const;
    std::string OfMac(std::string_view text) const;
    Text OfIpv4(std::string_view before, std::string_view text) const;
    Text OfIpv4WithPort(std::string_view text) const;
    Text OfIpv6(std::string_view text) const;

    const Pseudonyms& m_pseudonyms;
};

} // namespace DiagSeal
