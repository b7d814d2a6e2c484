#pragma once

#include "Budget.h"
#include "Envelope.h"
#include "Fault.h"
#include "Manifest.h"
#include "TarReader.h"

#include <cstdint>
#include <optional>
#include <string>

namespace DfsOpen
{

/** What was found of an item. */
struct Item
{
    ManifestEntry entry;
    bool isListed = true; ///< In the manifest; otherwise a member that the manifest does not know.
    Outcome outcome = Outcome::Missing;
    std::string text = "not in the archive"; ///< What is wrong, for the user; empty when nothing is.
    std::optional<std::uint64_t> storedSize; ///< Bytes in the archive.
    std::optional<std::uint64_t> plainSize;  ///< Bytes given to the sink; none when nothing could be decrypted.

    /** Whether nothing is known to be wrong. */
    bool IsSound() const { return isListed && (outcome == Outcome::Whole || outcome == Outcome::Sealed); }
};

/** Whether the text names a file of the folder in which it is used: 1 to 255 bytes, no "/", no control character. */
bool IsPlainFileName(const std::string& name);

/**
 * Opens the reader's current member layer by layer: gzip, CMS, gzip. The sink gets the plain content as it appears, and
 * what turns out wrong, even after that, becomes the item's outcome.
 * @param key the recipient's key; without one the item is opened as far as possible
 * @return the SHA-256 digest of the bytes in the archive
 * @throws ArchiveError when the archive ends or proves damaged in the member; the sink was given nothing
 */
std::string OpenItem(TarReader& reader, const PrivateKey& key, const Limits& limits, Budget& budget,
                     const ByteSink& sink, Item& item);

/** Reads the current member only for its SHA-256 digest, at most limits.sealedSize bytes of it. @throws ArchiveError */
std::string DigestOfMember(TarReader& reader, const Limits& limits);

} // namespace DfsOpen
