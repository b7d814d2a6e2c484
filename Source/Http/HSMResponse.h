#pragma once

#include "HeaderMap.h"

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Http
{
/** The outcome of one HTTP operation, good or bad. */
struct HSMResponse
{
    /** Truth value: an answer of 200 to 299 arrived whole, and whatever the operation does with it was done. */
    int success = 0;

    /** The HTTP status; 0 when no HTTP answer was received, or it did not arrive whole. */
    std::int32_t status = 0;

    /** The body as it was received; cut to the operation's bound, see BodyBound. */
    std::string response;

    /** Of the final answer only, not of redirects and the like. Of a repeated field the last value. */
    HeaderMap headers;

    /** libcurl's result code, see libcurl-errors(3). */
    int curlCode = 0;

    std::string contentType;

    /** Where the answer came from: the request's URL, or the last one that redirects led to. */
    std::string effectiveUrl;

    /** The form for logs: success, status and body, of a long one its beginning (see kLongestLoggedText). */
    std::string ToString() const;
};

std::ostream& operator<<(std::ostream& stream, const HSMResponse& response);
} // namespace Http
