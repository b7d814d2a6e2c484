#pragma once

#include <string_view>

namespace DiagSeal
{

/**
 * The MAC address without colons that begins at `at`, where a word must begin; empty if there is none. Known spellings:
 * "00-1b-21-3c-9d-4e", "00_1b_...", "00\:1b\:...", "00%3A1b%3A...", "001b.213c.9d4e", and "001b213c9d4e" where the text
 * around it says what it is. Times, hashes and numbers of devices look alike and are left out. Thread-safe.
 */
std::string_view MacAt(std::string_view line, std::size_t at);

/** Whether the text is pairs of hex digits with colons between. Thread-safe. */
bool IsPairs(std::string_view text);

/** MAC addresses in a chain of pairs: where the first one begins, and how many follow each other directly. */
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
