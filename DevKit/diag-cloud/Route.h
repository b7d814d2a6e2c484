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
    std::string id; ///< The product's or the archive's, whatever the method; empty when the path is neither of the two.
};

/** Reads a method and a target in origin form or, as proxies get it, in absolute form (RFC 9112, section 3.2). */
Route FindRoute(const std::string& method, const std::string& target);

} // namespace DiagCloud
