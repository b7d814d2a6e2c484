#include "CurlHandle.h"

#include "DPrint.h"

#include <cstdint>
#include <cstdio>
#include <sys/socket.h>

namespace Http
{
namespace
{
const DPrint s_log("SimpleURLFetcher");

constexpr long kMaxRedirects = 10;

void ReportFailure(int line)
{
    std::fprintf(stderr, "*** failed at %s line %d\n", __FILE__, line);
}

template <class Value>
Value GetInfo(CURL* handle, CURLINFO info, int line)
{
    Value value{};
    if (curl_easy_getinfo(handle, info, &value) != CURLE_OK) {
        ReportFailure(line);
        return {};
    }
    return value;
}

std::string TextOrEmpty(const char* text)
{
    return text == nullptr ? std::string() : text;
}

bool IsSuccess(std::int32_t status)
{
    return status >= 200 && status <= 299;
}
} // namespace

CurlHandle::CurlHandle() : m_handle(curl_easy_init())
{
    if (m_handle == nullptr) {
        ReportFailure(__LINE__);
        s_log.Log(0, "Could not create curlHandle!");
        return;
    }
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_SSL_VERIFYPEER, 1L);
    Set(CURLOPT_WRITEFUNCTION, &CurlHandle::CollectBody);
    Set(CURLOPT_WRITEDATA, &m_collector);
    Set(CURLOPT_HEADERFUNCTION, &CurlHandle::CollectHeader);
    Set(CURLOPT_HEADERDATA, &m_collector);

    // An address that a server names must not make the device read its own files, or speak to its mail server.
    Set(CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
    Set(CURLOPT_MAXREDIRS, kMaxRedirects);
    // HTTP/2 has header names in lower case, and retry headers are looked up by their exact names.
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // Empty is not unset: unset would have libcurl look at the environment.
    Set(CURLOPT_PROXY, "");
    Set(CURLOPT_NOPROXY, "");
    Set(CURLOPT_OPENSOCKETFUNCTION, &CurlHandle::OpenSocket);
}

bool CurlHandle::SetUpload(const std::string& body)
{
    m_upload.body = &body;
    return Set(CURLOPT_READFUNCTION, &CurlHandle::ReadUpload) && Set(CURLOPT_READDATA, &m_upload) &&
           Set(CURLOPT_SEEKFUNCTION, &CurlHandle::SeekUpload) && Set(CURLOPT_SEEKDATA, &m_upload) &&
           Set(CURLOPT_UPLOAD, 1L) && Set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(body.size()));
}

void CurlHandle::Perform(HSMResponse& response)
{
    response = HSMResponse();
    m_collector.Clear();
    m_upload.offset = 0;
    CURLcode result = curl_easy_perform(m_handle.get());
    if (result == CURLE_OK && m_collector.IsInHeaderSection()) {
        // libcurl takes an answer that breaks off among its fields for one without a body.
        result = CURLE_PARTIAL_FILE;
    }
    if (m_collector.DroppedSize() > 0) {
        s_log.Log(2, "The body of the answer is cut, %llu bytes are dropped\n",
                  static_cast<unsigned long long>(m_collector.DroppedSize()));
    }
    response.curlCode = result;
    response.headers = m_collector.TakeHeaders();
    response.response = m_collector.TakeBody();
    // The status of an answer that broke off is none: its body cannot be trusted to be what the server meant.
    if (result == CURLE_OK) {
        response.status = static_cast<std::int32_t>(GetInfo<long>(m_handle.get(), CURLINFO_RESPONSE_CODE, __LINE__));
        response.success = IsSuccess(response.status) ? 1 : 0;
        response.contentType = TextOrEmpty(GetInfo<const char*>(m_handle.get(), CURLINFO_CONTENT_TYPE, __LINE__));
        response.effectiveUrl = TextOrEmpty(GetInfo<const char*>(m_handle.get(), CURLINFO_EFFECTIVE_URL, __LINE__));
    }
}

std::size_t CurlHandle::CollectHeader(char* data, std::size_t size, std::size_t count, void* collector)
{
    return static_cast<ResponseCollector*>(collector)->AddHeaderLine({data, size * count}) ? size * count : 0;
}

std::size_t CurlHandle::CollectBody(char* data, std::size_t size, std::size_t count, void* collector)
{
    return static_cast<ResponseCollector*>(collector)->AddBody({data, size * count}) ? size * count : 0;
}

std::size_t CurlHandle::ReadUpload(char* buffer, std::size_t size, std::size_t count, void* upload)
{
    auto& [body, offset] = *static_cast<Upload*>(upload);
    const std::size_t length = body->copy(buffer, size * count, offset);
    offset += length;
    return length;
}

int CurlHandle::SeekUpload(void* upload, curl_off_t offset, int origin)
{
    auto& [body, current] = *static_cast<Upload*>(upload);
    if (origin != SEEK_SET || offset < 0 || static_cast<std::size_t>(offset) > body->size()) {
        return CURL_SEEKFUNC_FAIL;
    }
    current = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

curl_socket_t CurlHandle::OpenSocket(void*, curlsocktype, curl_sockaddr* address)
{
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}
} // namespace Http
