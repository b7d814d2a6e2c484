#pragma once

#include "CurlHandle.h"
#include "HSMResponse.h"
#include "HeaderMap.h"
#include "RequestHeaders.h"

#include <functional>
#include <string>

namespace Http
{
/**
 * One libcurl easy handle, and one HTTP exchange at a time over it: it collects status, headers and body, and reports
 * every failure as a response. Settings persist between exchanges. For what is spoken see CurlHandle.
 *
 * An operation blocks until the exchange has ended, with the retries that the settings ask for. References passed to it
 * must stay valid until then. Not thread-safe.
 */
class SimpleURLFetcher
{
public:
    /** Waits for so many seconds (0 or more); false ends the exchanges. */
    using Sleeper = std::function<bool(int seconds)>;

    SimpleURLFetcher();

    /** False when libcurl gave no handle: then every setter returns false, and every operation fails at once. */
    bool IsUsable() const noexcept { return m_curlHandle.IsUsable(); }

    /** Whether the manufacturing data names this unit as one for development. */
    bool IsDevelopment() const noexcept { return m_isDevelopment; }

    /** Setters return true when the setting is in force, at once when it has been before. */
    bool SetURL(const std::string& url);
    /** @param proxy "host:port", empty for none */
    bool SetProxy(const std::string& proxy);
    bool SetValidateServerCertificate(bool validate);
    bool SetValidateHostCertificate(bool validate);
    /** Limits the whole exchange, and connecting; 0 for libcurl's own limits. */
    bool SetTimeOut(float seconds);
    bool SetFollowRedirects(bool follow);
    bool SetSimpleAuthentication(const std::string& userName, const std::string& password);
    void SetBodyBound(BodyBound bound) { m_curlHandle.SetBodyBound(bound); }

    /** How often an exchange that did not end in 200..299 is repeated; negative for without limit. */
    void SetRetryCount(int count) { m_retryCount = count; }
    void SetRetryDelay(int seconds) { m_retryDelay = seconds; }

    /** Replaces the sleep between repetitions, so that it can be ended; empty for the ordinary one. */
    void SetSleeper(Sleeper sleeper);

    HSMResponse Get(const HeaderMap& headers2Add);
    /** @param body text or bytes; not copied */
    HSMResponse Post(const HeaderMap& headers2Add, const std::string& body, const std::string& contentType);
    /** Posts one form part, "metadata", that holds JSON. */
    HSMResponse PostMultipartFormData(const HeaderMap& headers2Add, const std::string& metadata);
    /** @param body not copied */
    HSMResponse Put(const HeaderMap& headers2Add, const std::string& body, const std::string& contentType);
    HSMResponse Delete(const HeaderMap& headers2Add);

private:
    bool CheckHandle_(const char* operation) const;
    template <class Setting, class Value>
    bool SetRemembered_(const char* setter, Setting& remembered, const Setting& wanted, CURLoption option, Value value);
    bool SetNothingToSend_();
    bool FixupRequestHeaders_(const HeaderMap& headers2Add, const std::string& contentType);
    HSMResponse NotSent_(const char* operation) const;
    HSMResponse DoSendREceive_();

    /** The handle refers to them, and so goes before them. */
    RequestHeaders m_requestHeaders;
    CurlHandle m_curlHandle;
    std::string m_url;
    std::string m_proxy;
    float m_timeOut = 0;
    std::string m_credentials;
    bool m_followRedirects = false;
    bool m_verifyPeer = true;
    bool m_verifyHost = true;
    int m_retryCount = 0;
    int m_retryDelay = 0;
    Sleeper m_sleeper;
    const bool m_isDevelopment;
};
} // namespace Http
