#pragma once

#include "HeaderMap.h"

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

namespace Http
{
struct FreeHeaderList
{
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

/** Header lines as CURLOPT_HTTPHEADER takes them; null for none. */
using RequestHeaders = std::unique_ptr<curl_slist, FreeHeaderList>;

/**
 * Puts the header lines of a request together. Content type and credentials win over headers of those names; a header
 * with a line break in it is logged and left out. A header with an empty value is sent, with an empty value.
 *
 * @param contentType empty for none
 * @param credentials "user:password", to be sent by the basic scheme (RFC 7617); empty for none
 * @return nothing when memory is short
 */
std::optional<RequestHeaders> MakeRequestHeaders(const HeaderMap& headers2Add, const std::string& contentType,
                                                 const std::string& credentials);
} // namespace Http
