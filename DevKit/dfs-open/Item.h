#pragma once

#include "Budget.h"
#include "ByteSink.h"
#include "Envelope.h"
#include "Limits.h"
#include "TarReader.h"

#include <cstdint>
#include <optional>
#include <string>

namespace DfsOpen
{

/** What became of one item. */
enum class ItemState
{
    kWhole,      //!< Opened to its last byte, checksums verified.
    kSealed,     //!< Whole as far as can be seen without a key.
    kUnopened,   //!< In the archive, but nobody asked for it.
    kMissing,    //!< In the manifest, but not in the archive.
    kNoName,     //!< In the manifest, but without a file name.
    kUnsafeName, //!< Its name is more than the name of a file.
    kNotUnique,  //!< A second, different member of the same name.
    kCutShort,   //!< The archive ends in it.
    kNotGzip,
    kGzipDamaged,
    kGzipTruncated,
    kEmptyMessage, //!< Its encryption wrote nothing.
    kNotCms,
    kCmsDamaged,
    kCmsCrowded,
    kCmsCipher,
    kWrongKey,
    kPlainNotGzip,
    kPlainDamaged,
    kPlainTruncated,
    kSealedTooLarge,
    kPlainTooLarge,
    kExhausted,  //!< The work on the archive has reached its bound.
    kNotWritten, //!< Its content could not be stored.
};

/** The state in words for the user. */
const char* Describe(ItemState state);

/** Whether nothing is known to be wrong with the item. */
bool IsSound(ItemState state);

/**
 * Whether the text may name a file: not empty, at most 255 bytes, no "/", no control character, not "." or "..".
 * Such a name stays in the folder in which it is used.
 */
bool IsPlainFileName(const std::string& name);

struct OpenedItem
{
    ItemState state = ItemState::kSealed;
    std::uint64_t storedSize = 0;           //!< Bytes in the archive.
    std::optional<std::uint64_t> plainSize; //!< Bytes given to the sink; none when nothing could be decrypted.
    std::string digest;                     //!< Of the bytes in the archive, SHA-256.
};

/**
 * Opens the reader's current member layer by layer: gzip, CMS, gzip, and gives the plain content to the sink as it
 * appears. What is found wrong may be found after the sink was given content.
 *
 * @param key the recipient's key; without one the item is looked at as far as possible
 * @param budget of the archive
 * @throws ArchiveError when the archive ends or proves damaged in the member; the sink was given nothing
 */
OpenedItem OpenItem(TarReader& reader, const PrivateKey* key, const Limits& limits, Budget& budget,
                    const ByteSink& sink);

/** Reads the current member only for its SHA-256 digest, at most limits.sealedSize bytes of it. @throws ArchiveError */
std::string DigestOfMember(TarReader& reader, const Limits& limits);

} // namespace DfsOpen
