#pragma once

#include "HeaderMap.h"

#include <string>

namespace Http
{
enum class HttpMethod
{
    Post = 0,
    Get = 1,
    Delete = 2,
    Put = 3,
};

/** What one operation sends. */
struct HttpRequest
{
    HttpMethod method = HttpMethod::Get;
    std::string url;

    /** "host:port", empty for none. */
    std::string proxy;

    HeaderMap headers2Add;

    /** Of a POST or PUT. May be as large as an archive: it is moved from hand to hand and never copied. */
    std::string body;

    /** Of the body; empty for none given. */
    std::string contentType;

    /** Credentials for simple authentication; both empty for none. */
    std::string userName;
    std::string password;
};
} // namespace Http
