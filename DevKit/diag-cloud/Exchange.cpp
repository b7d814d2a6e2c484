#include "Exchange.h"

#include "Json.h"
#include "Metadata.h"

#include <algorithm>
#include <exception>

namespace DiagCloud
{

namespace
{

constexpr std::size_t kLongestText = std::size_t{1024} * 1024;
constexpr int kOk = 200;
constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kMethodNotAllowed = 405;
constexpr int kTooLarge = 413;
constexpr int kServerError = 500;

Answer JsonAnswer(int status, const Json::Value& body)
{
    Answer answer;
    answer.status = status;
    answer.headers = {{"Content-Type", "application/json"}};
    answer.body = ToText(body);
    return answer;
}

} // namespace

Exchange::Exchange(Cloud& cloud, std::string method, std::string target, Headers headers)
    : m_cloud(cloud), m_route(FindRoute(method, target)), m_outcome(cloud.script.Take(m_route.kind))
{
    m_request.kind = m_route.kind;
    m_request.method = std::move(method);
    m_request.target = std::move(target);
    m_request.headers = std::move(headers);
    m_request.arrival = std::chrono::steady_clock::now();
    m_request.scripted = m_outcome.has_value();
    if (m_route.kind == RequestKind::kMetadata) {
        m_request.productId = m_route.id;
    } else if (m_route.kind == RequestKind::kArchive) {
        m_request.archiveId = m_route.id;
        m_metadata = m_cloud.store.FindMetadata(m_route.id);
        m_request.productId = ProductIdOf(m_metadata.value_or(""));
    }
}

std::optional<std::uint64_t> Exchange::ResetAfterRequestBytes() const
{
    return m_outcome ? m_outcome->resetAfterRequestBytes : std::nullopt;
}

bool Exchange::IsDiscarded() const
{
    return m_outcome && (m_outcome->status || m_outcome->hang || m_outcome->resetAfterRequestBytes);
}

void Exchange::Receive(const char* data, std::size_t size)
{
    m_request.bodySize += size;
    if (m_route.kind != RequestKind::kArchive) {
        m_request.body.append(data, std::min(size, kLongestText - m_request.body.size()));
        return;
    }
    m_md5.Update(data, size);
    if (m_metadata && !IsDiscarded() && m_storeFault.empty()) {
        try {
            if (!m_archive) {
                m_archive = m_cloud.store.AddArchive(m_route.id);
            }
            m_archive->Write(data, size);
        } catch (const std::exception& error) {
            m_storeFault = error.what();
        }
    }
}

Answer Exchange::Finish()
{
    m_request.complete = true;
    if (m_route.kind == RequestKind::kArchive) {
        m_request.md5 = CompareMd5(FindHeader(m_request.headers, "Content-MD5"), m_md5.Finish());
    }

    Answer answer;
    if (IsDiscarded()) {
        answer.status = m_outcome->status.value_or(kOk);
        answer.headers = m_outcome->headers;
        answer.body = m_outcome->body;
        answer.hang = m_outcome->hang;
        m_remark = answer.hang ? "no answer" : std::to_string(answer.status);
        for (const auto& [name, value] : answer.headers) {
            m_remark.append(", ").append(name).append(": ").append(value);
        }
    } else {
        answer = Decide();
        m_remark = std::to_string(answer.status) + " " + m_remark;
    }
    m_request.status = answer.hang ? 0 : answer.status;
    if (m_outcome) {
        answer.delay = m_outcome->delay;
        answer.resetAfterBytes = m_outcome->resetAfterBytes;
        m_remark += " (scripted";
        if (answer.delay.count() > 0) {
            m_remark += ", after " + std::to_string(answer.delay.count()) + " ms";
        }
        if (answer.resetAfterBytes) {
            m_remark += ", connection reset after " + std::to_string(*answer.resetAfterBytes) + " bytes of the answer";
        }
        m_remark += ")";
    }
    m_cloud.log.Add(std::move(m_request), m_remark);
    return answer;
}

void Exchange::Lose(const std::string& reason)
{
    m_archive.reset();
    m_cloud.log.Add(std::move(m_request), reason);
}

Answer Exchange::Decide()
{
    try {
        switch (m_route.kind) {
            case RequestKind::kMetadata:
                return TakeMetadata();
            case RequestKind::kArchive:
                return TakeArchive();
            case RequestKind::kOther:
                break;
        }
    } catch (const std::exception& error) {
        return Refuse(kServerError, error.what());
    }
    if (!m_route.pathKnown) {
        return Refuse(kNotFound, "there is no such path");
    }
    Answer answer = Refuse(kMethodNotAllowed, "only POST is possible here");
    answer.headers.emplace_back("Allow", "POST");
    return answer;
}

Answer Exchange::TakeMetadata()
{
    if (m_request.bodySize > kLongestText) {
        return Refuse(kTooLarge, "the metadata is too large");
    }
    const std::string fault = FindMetadataFault(m_request.body, m_route.id);
    if (!fault.empty()) {
        return Refuse(kBadRequest, fault);
    }
    m_request.archiveId = m_cloud.store.AddMetadata(m_request.body);
    m_remark = "announces archive " + m_request.archiveId;
    Json::Value body;
    body["uploadUrl"] = m_cloud.baseUrl + "/archives/" + m_request.archiveId;
    return JsonAnswer(kOk, body);
}

Answer Exchange::TakeArchive()
{
    if (!m_metadata) {
        return Refuse(kNotFound, "no metadata announced this archive");
    }
    if (m_request.md5 != Md5Verdict::kMatches) {
        return Refuse(kBadRequest, std::string("Content-MD5 ") + Describe(m_request.md5));
    }
    if (!m_storeFault.empty()) {
        return Refuse(kServerError, m_storeFault);
    }
    if (!m_archive) { // none yet when the archive is empty
        m_archive = m_cloud.store.AddArchive(m_route.id);
    }
    m_request.archivePath = m_archive->Complete();
    m_remark = "stored as " + m_request.archivePath;
    Json::Value body;
    body["archive"] = m_route.id;
    body["size"] = Json::Value::UInt64(m_request.bodySize);
    return JsonAnswer(kOk, body);
}

Answer Exchange::Refuse(int status, const std::string& reason)
{
    m_remark = reason;
    Json::Value body;
    body["error"] = reason;
    return JsonAnswer(status, body);
}

} // namespace DiagCloud
