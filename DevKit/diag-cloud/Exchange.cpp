#include "Exchange.h"

#include "Metadata.h"

#include <json/json.h>

#include <exception>

namespace DiagCloud
{

namespace
{

constexpr std::size_t kLongestText = std::size_t{1024} * 1024;

// What is wrong with an archive's Content-MD5; empty when nothing is. `md5` is the archive's.
std::string FindMd5Fault(const Headers& headers, const std::string& md5)
{
    const auto field = headers.find("Content-MD5");
    if (field == headers.end() || field->second.empty()) {
        return "Content-MD5 is missing";
    }
    if (field->second.size() != md5.size() ||
        field->second.find_first_not_of("0123456789abcdef") != std::string::npos) {
        return "Content-MD5 is not 32 lower-case hexadecimal digits";
    }
    return field->second == md5 ? "" : "Content-MD5 does not match the archive";
}

} // namespace

Exchange::Exchange(Cloud& cloud, std::string method, std::string target, Headers headers)
    : m_cloud(cloud), m_route(FindRoute(method, target)), m_md5(EVP_md5())
{
    const std::optional<Outcome> scripted = cloud.script.Take(m_route.kind);
    m_outcome = scripted.value_or(Outcome());
    m_request.scripted = scripted.has_value();
    m_request.kind = m_route.kind;
    m_request.method = std::move(method);
    m_request.target = std::move(target);
    m_request.headers = std::move(headers);
    m_request.arrival = std::chrono::steady_clock::now();
    if (m_route.kind == RequestKind::Metadata) {
        m_request.productId = m_route.id;
    } else if (m_route.kind == RequestKind::Archive) {
        m_request.archiveId = m_route.id;
        m_metadata = m_cloud.store.FindMetadata(m_route.id);
        m_request.productId = ProductIdOf(m_metadata.value_or(""));
    }
}

void Exchange::Receive(std::string_view bytes)
{
    m_request.bodySize += bytes.size();
    if (m_route.kind != RequestKind::Archive) {
        m_request.body += bytes.substr(0, kLongestText - m_request.body.size());
        return;
    }
    m_md5.Update(bytes);
    if (m_metadata && m_storeFault.empty() && !m_outcome.IsInsteadOfTheRequest()) {
        try {
            if (!m_archive) {
                m_archive = m_cloud.store.AddArchive(m_route.id);
            }
            m_archive->Write(bytes);
        } catch (const std::exception& error) {
            m_storeFault = error.what();
        }
    }
}

Outcome Exchange::Finish()
{
    m_request.complete = true;
    if (m_route.kind == RequestKind::Archive) {
        m_request.md5Fault = FindMd5Fault(m_request.headers, m_md5.Finish());
    }
    if (m_outcome.IsInsteadOfTheRequest()) {
        for (const auto& [name, value] : m_outcome.headers) {
            m_remark.append(", ").append(name).append(": ").append(value);
        }
    } else {
        Decide();
        m_remark.insert(0, " ");
    }
    m_request.status = m_outcome.status.value_or(0);
    m_remark.insert(0, m_outcome.hang ? "no answer" : std::to_string(m_request.status));
    if (m_request.scripted) {
        m_remark += " (scripted";
        if (m_outcome.delay.count() > 0) {
            m_remark += ", after " + std::to_string(m_outcome.delay.count()) + " ms";
        }
        if (m_outcome.resetAfterBytes) {
            m_remark +=
                ", connection reset after " + std::to_string(*m_outcome.resetAfterBytes) + " bytes of the answer";
        }
        m_remark += ")";
    }
    m_cloud.log.Add(std::move(m_request), m_remark);
    return m_outcome;
}

void Exchange::Lose(const std::string& reason)
{
    m_archive.reset();
    m_cloud.log.Add(std::move(m_request), reason);
}

void Exchange::Decide()
{
    try {
        if (m_route.kind == RequestKind::Metadata) {
            TakeMetadata();
        } else if (m_route.kind == RequestKind::Archive) {
            TakeArchive();
        } else if (!m_route.id.empty()) {
            Refuse(405, "only POST is possible here");
            m_outcome.headers["Allow"] = "POST";
        } else {
            Refuse(404, "there is no such path");
        }
    } catch (const std::exception& error) {
        Refuse(500, error.what());
    }
}

void Exchange::TakeMetadata()
{
    if (m_request.bodySize > kLongestText) {
        return Refuse(413, "the metadata is too large");
    }
    const std::string fault = FindMetadataFault(m_request.body, m_route.id);
    if (!fault.empty()) {
        return Refuse(400, fault);
    }
    m_request.archiveId = m_cloud.store.AddMetadata(m_request.body);
    m_remark = "announces archive " + m_request.archiveId;
    Json::Value body;
    body["uploadUrl"] = m_cloud.baseUrl + "/archives/" + m_request.archiveId;
    m_outcome.SetAnswer(200, body);
}

void Exchange::TakeArchive()
{
    if (!m_metadata) {
        return Refuse(404, "no metadata announced this archive");
    }
    if (!m_request.md5Fault.empty()) {
        return Refuse(400, m_request.md5Fault);
    }
    if (!m_storeFault.empty()) {
        return Refuse(500, m_storeFault);
    }
    if (!m_archive) {
        // The archive is empty.
        m_archive = m_cloud.store.AddArchive(m_route.id);
    }
    m_request.archivePath = m_archive->Complete();
    m_remark = "stored as " + m_request.archivePath;
    Json::Value body;
    body["archive"] = m_route.id;
    body["size"] = Json::Value::UInt64(m_request.bodySize);
    m_outcome.SetAnswer(200, body);
}

void Exchange::Refuse(int status, const std::string& reason)
{
    // A client that is told of the refusal finds nothing stored.
    m_archive.reset();
    m_remark = reason;
    m_outcome.Refuse(status, reason);
}

} // namespace DiagCloud
