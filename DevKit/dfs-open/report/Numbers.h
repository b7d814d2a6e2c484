#pragma once

#include <cstdint>
#include <string>

/** Numbers as a reader sees them. Thread-safe. */
namespace DfsReport
{

/** With at most so many decimals, such as "8.5"; no zeros at the end. */
std::string Decimal(double value, int decimals = 1);

/** "1 item" or "3 items". */
std::string Counted(std::uint64_t count, const std::string& noun);

/** "512 B", "1.5 KiB", "11.8 GiB". */
std::string Bytes(double bytes);

} // namespace DfsReport
