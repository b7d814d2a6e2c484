#pragma once

#include <cstddef>
#include <string>

namespace DFSCommonPB
{
class UploadRequest;
} // namespace DFSCommonPB

/** How much the service takes of what others give it. */
namespace DiagnosticFileSvc
{
class DFDiagnosticItem;

/** Longest text of a registration or a request, in bytes: the length of the longest path, see PATH_MAX in limits.h(0p).
 */
inline constexpr std::size_t kMaxTextSize = 4096;

/** Most items in the registry, and most bytes of all their texts. */
inline constexpr std::size_t kMaxRegisteredItems = 1000;
inline constexpr std::size_t kMaxRegisteredBytes = std::size_t{2} * 1024 * 1024;

/** Most file types in one request, repeated ones counted. */
inline constexpr int kMaxRequestedTypes = 100;

/** Largest file that the service reads of its own, in bytes. The configuration file that it writes has about 2 KiB. */
inline constexpr std::size_t kMaxOwnFileSize = std::size_t{512} * 1024;

/** Why a request is refused, as the text of its answer; empty when it is not. Thread-safe. */
std::string WhyRefused(const DFSCommonPB::UploadRequest& request);

/** Why an item is not taken into the registry, as the text of a log line; empty when it is. Thread-safe. */
std::string WhyRefused(const DFDiagnosticItem& item);
} // namespace DiagnosticFileSvc
