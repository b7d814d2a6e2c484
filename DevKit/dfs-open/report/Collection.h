#pragma once

#include "Item.h"
#include "Limits.h"

#include <cstdint>
#include <string>
#include <vector>

namespace DfsReport
{

/** How much plain text of an archive is held in memory, and shown: of one item, and of all together, in bytes. */
constexpr std::size_t kLongestText = std::size_t{32} * 1024 * 1024;
constexpr std::size_t kMostText = std::size_t{64} * 1024 * 1024;
/** Lines of all texts together. */
constexpr std::size_t kMostLines = std::size_t{1000} * 1000;

/** An item and what it holds. */
struct Document
{
    DfsOpen::Item item;
    std::string text;   ///< From its beginning; empty when nothing could be opened.
    bool isCut = false; ///< The item holds more than the text.
};

/** An archive as it was opened. */
struct Collection
{
    std::string name;       ///< Of the file, without its folder.
    std::uint64_t size = 0; ///< Of the file, in bytes.
    bool isSealed = false;  ///< There was no key.
    std::vector<Document> documents;
    std::vector<std::string> faults; ///< Of the archive itself, in words for the user.
};

/** The item as a reader knows it: its sub-type, or its file's name; at most 100 bytes. */
std::string NameOf(const DfsOpen::Item& item);

/**
 * Opens an archive and keeps its texts.
 *
 * @param key the recipient's key; without one there is no text
 * @throws std::invalid_argument with one line for the user when the archive cannot be opened
 */
Collection Collect(const std::string& path, const DfsOpen::PrivateKey& key, const DfsOpen::Limits& limits);

} // namespace DfsReport
