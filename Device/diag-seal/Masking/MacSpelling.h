#pragma once

#include <string_view>

namespace DiagSeal
{

/**
 * The MAC address that is spelled without colons where a word begins at `at`, or an empty text: "00-1b-21-3c-9d-4e",
 * "00_1b_...", "00\:1b\:..." and "00%3A1b%3A...", "001b.213c.9d4e", and "001b213c9d4e" where the words before or behind
 * say what it is. Times, hashes and numbers of devices look alike; those are none. Thread-safe.
 */
std::string_view MacAt(std::string_view line, std::size_t at);

/** Whether the text is pairs of hex digits with colons between. Thread-safe. */
bool IsPairs(std::string_view text);

/** Of pairs with colons between: where the first MAC address begins and how many follow on each other. */
struct MacsInPairs
{
    std::size_t begin = 0;
    std::size_t count = 0;
};

/**
 * The MAC addresses within longer chains: a DHCP client identifier (RFC 2132, RFC 4361), a DUID with a link-layer
 * address (RFC 8415), and the Ethernet header as the packet filter logs it. Thread-safe.
 */
MacsInPairs FindMacs(std::string_view pairs);

} // namespace DiagSeal
