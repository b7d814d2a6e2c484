#include "HttpUrl.h"

#include <curl/curl.h>

#include <memory>
#include <string_view>

namespace
{
struct FreeUrl
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};

struct FreeText
{
    void operator()(char* text) const { curl_free(text); }
};
} // namespace

bool Http::IsHttpUrl(const std::string& text)
{
    const std::unique_ptr<CURLU, FreeUrl> url(curl_url());
    char* scheme = nullptr;
    // libcurl would take what stands before a NUL for the whole.
    if (!url || text.find('\0') != std::string::npos ||
        curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_GUESS_SCHEME) != CURLUE_OK ||
        curl_url_get(url.get(), CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK) {
        return false;
    }
    const std::unique_ptr<char, FreeText> owner(scheme);
    return scheme == std::string_view("http") || scheme == std::string_view("https");
}
