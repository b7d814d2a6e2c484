#pragma once

#include <string>

namespace DiagCloud
{

/**
 * Judges the record that announces an archive: a JSON object with the texts "productName", "productId", "productType",
 * "softwareVersion", "fileType" and "uploadTimeStamp" (UTC, as 2026-11-15T03:04:05Z). It may have "uploadedItems",
 * objects with "type" (the name or the number of a kind of file) and "subType"; "version", a number; and other members.
 * @param productId the product's id in the request's path, which the record must repeat
 * @return what is wrong with it, for its sender; empty when nothing is
 */
std::string FindMetadataFault(const std::string& text, const std::string& productId);

/** The product's id in a record without fault; empty in anything else. */
std::string ProductIdOf(const std::string& text);

} // namespace DiagCloud
