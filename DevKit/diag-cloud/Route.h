#pragma once

#include <string>

namespace DiagCloud
{

enum class RequestKind
{
    Metadata, ///< POST to "/senders/" product id "/metadata".
    Archive,  ///< POST to "/archives/" archive id.
    Other,
};

/** What a request line asks for. */
struct Route
{
    RequestKind kind = RequestKind::Other;
    std::string id;         ///< The product's for Metadata, the archive's for Archive.
    bool pathKnown = false; ///< The path is one of the two, whatever the method.
};

/** Reads a method and a target in origin form or, as proxies get it, in absolute form (RFC 9112, section 3.2). */
Route FindRoute(const std::string& method, const std::string& target);

} // namespace DiagCloud
