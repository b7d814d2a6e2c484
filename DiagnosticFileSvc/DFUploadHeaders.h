#pragma once

#include "HeaderMap.h"
#include "QuillaneTokens.h"

#include <string>

/** The headers of an upload's two posts. */
namespace DiagnosticFileSvc
{
/** Media types of the posts' bodies. */
inline constexpr char kMetadataType[] = "application/json";
inline constexpr char kArchiveType[] = "application/octet-stream";

/**
 * The headers of the metadata post, with the access token that the token file holds now, or an empty one.
 *
 * @param tokens loads the token file
 *
 * Blocks.
 */
Http::HeaderMap BuildMetadataPostHeader(JwtUtils::QuillaneTokens& tokens);

/**
 * The headers of the archive post, with the token likewise.
 *
 * @param archiveMd5 32 lower-case hexadecimal digits, deliberately not the base64 of RFC 1864
 *
 * Blocks.
 */
Http::HeaderMap BuildDiagnosticFilePostHeader(JwtUtils::QuillaneTokens& tokens, const std::string& archiveMd5);
} // namespace DiagnosticFileSvc
