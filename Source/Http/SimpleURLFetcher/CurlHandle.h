#pragma once

#include "HSMResponse.h"
#include "ResponseCollector.h"

#include <curl/curl.h>

#include <cstddef>
#include <memory>
#include <string>

namespace Http
{
/**
 * A libcurl easy handle, with the options that hold for every exchange, and the way of a body through it in either
 * direction.
 *
 * The environment's proxy variables are ignored. Only http and https are spoken, in HTTP/1.1, which keeps header
 * names as the server wrote them; at most 10 redirects are followed; certificates are verified unless that is switched
 * off.
 *
 * Not thread-safe.
 */
class CurlHandle
{
public:
    CurlHandle();

    /** False when libcurl gave no handle, which is logged; nothing else may be called then. */
    bool IsUsable() const noexcept { return m_handle != nullptr; }

    /** See curl_easy_setopt(3), also for what the value must outlive. @return whether libcurl took it */
    template <class Value>
    bool Set(CURLoption option, Value value)
    {
        return curl_easy_setopt(m_handle.get(), option, value) == CURLE_OK;
    }

    /** Has exchanges send the body by reading it. @param body not copied: must outlive the exchange */
    bool SetUpload(const std::string& body);

    /** For the answers to come. */
    void SetBodyBound(BodyBound bound) { m_collector.SetBodyBound(bound); }

    /** Blocks for one exchange. @param response replaced by its outcome, good or bad */
    void Perform(HSMResponse& response);

private:
    /** How far a body has been read. */
    struct Upload
    {
        const std::string* body = nullptr;
        std::size_t offset = 0;
    };

    static std::size_t CollectHeader(char* data, std::size_t size, std::size_t count, void* collector);
    static std::size_t CollectBody(char* data, std::size_t size, std::size_t count, void* collector);
    static std::size_t ReadUpload(char* buffer, std::size_t size, std::size_t count, void* upload);
    static int SeekUpload(void* upload, curl_off_t offset, int origin);
    static curl_socket_t OpenSocket(void* unused, curlsocktype purpose, curl_sockaddr* address);

    struct Cleanup
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };

    ResponseCollector m_collector;
    Upload m_upload;
    /** Refers to the others, and so goes before them. */
    const std::unique_ptr<CURL, Cleanup> m_handle;
};
} // namespace Http
