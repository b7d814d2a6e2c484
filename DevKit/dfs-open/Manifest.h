#pragma once

#include <string>
#include <vector>

namespace DfsOpen
{

/** The archive's member that lists the others. */
constexpr const char* kManifestName = "dfs_uploadmanifest.json";

/** One collected file as the manifest names it; the archive holds it as the file name followed by ".gz". */
struct ManifestEntry
{
    std::string fileName; ///< Empty where the manifest gives none.
    std::string type;     ///< The name of a DiagFileType, or a number that has no name.
    std::string subType;
};

/**
 * Reads a manifest: an UploadManifest in JSON, by itself or as the member "UploadManifest" of an object.
 * @throws std::runtime_error with a text for the user when the text is not one
 */
std::vector<ManifestEntry> ParseManifest(const std::string& text);

} // namespace DfsOpen
