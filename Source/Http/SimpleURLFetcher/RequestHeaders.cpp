#include "RequestHeaders.h"

#include "Base64.h"
#include "DPrint.h"

#include <string_view>
#include <strings.h>

namespace Http
{
namespace
{
const DPrint s_log("SimpleURLFetcher");

bool IsName(const std::string& name, const char* other)
{
    return strcasecmp(name.c_str(), other) == 0;
}

// A line feed within a field would begin another one, of whoever wrote the value.
bool IsOneLine(const std::string& text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

// As CURLOPT_HTTPHEADER takes it: a field without a value ends in a semicolon, or it would not be sent.
std::string LineOf(const std::string& name, const std::string& value)
{
    const bool isEmpty = value.find_first_not_of(" \t\v\f") == std::string::npos;
    return isEmpty ? name + ";" : name + ": " + value;
}

bool Append(RequestHeaders& headers, const std::string& line)
{
    curl_slist* const longer = curl_slist_append(headers.get(), line.c_str());
    if (longer == nullptr) {
        return false;
    }
    // It is the list as it was, with one line more, unless it is the first one.
    static_cast<void>(headers.release());
    headers.reset(longer);
    return true;
}
} // namespace

std::optional<RequestHeaders> MakeRequestHeaders(const HeaderMap& headers2Add, const std::string& contentType,
                                                 const std::string& credentials)
{
    RequestHeaders headers;
    for (const auto& [name, value] : headers2Add) {
        if (!IsOneLine(name) || !IsOneLine(value)) {
            s_log.Log(1, "The header %s has a line break, it is not sent\n", name.c_str());
            continue;
        }
        const bool isReplaced = (!contentType.empty() && IsName(name, "Content-Type")) ||
                                (!credentials.empty() && IsName(name, "Authorization"));
        if (!isReplaced && !Append(headers, LineOf(name, value))) {
            return std::nullopt;
        }
    }
    if (!contentType.empty() && !Append(headers, "Content-Type: " + contentType)) {
        return std::nullopt;
    }
    // libcurl, which has the credentials too, leaves the header to this line.
    if (!credentials.empty() && !Append(headers, "Authorization: Basic " + OpenSsl::Base64(credentials))) {
        return std::nullopt;
    }
    return headers;
}
} // namespace Http
