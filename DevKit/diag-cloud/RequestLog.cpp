#include "RequestLog.h"

namespace DiagCloud
{

namespace
{

// The token itself is a secret of the product.
const char* DescribeToken(const Headers& headers)
{
    const auto token = headers.find("x-product-token");
    if (token == headers.end()) {
        return "absent";
    }
    return token->second.empty() ? "empty" : "present";
}

std::string Summary(const ReceivedRequest& request)
{
    std::string line = "#" + std::to_string(request.number) + " ";
    if (request.kind == RequestKind::Metadata) {
        line += "metadata";
    } else if (request.kind == RequestKind::Archive) {
        line += "archive " + Printable(request.archiveId);
    } else {
        line += Printable(request.method) + " " + Printable(request.target);
    }
    line += ", " + std::to_string(request.bodySize) + (request.complete ? " bytes" : " bytes, then broken off");
    if (request.kind == RequestKind::Archive && request.complete) {
        line += ", " + (request.md5Fault.empty() ? "Content-MD5 matches" : request.md5Fault);
    }
    line += ", product " + (request.productId.empty() ? "unknown" : Printable(request.productId));
    return line + ", token " + DescribeToken(request.headers);
}

} // namespace

RequestLog::RequestLog(bool keep, LineWriter writer) : m_keep(keep), m_writer(std::move(writer)) {}

void RequestLog::Add(ReceivedRequest request, const std::string& remark)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    request.number = ++m_count;
    WriteEvent(m_writer, Summary(request) + " -> " + remark);
    if (m_keep) {
        m_requests.push_back(std::move(request));
    }
    m_added.notify_all();
}

void RequestLog::Print(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    WriteEvent(m_writer, Printable(text));
}

std::vector<ReceivedRequest> RequestLog::Requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

std::optional<ReceivedRequest> RequestLog::WaitFor(std::size_t number, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (number == 0 || !m_added.wait_for(lock, timeout, [&] { return m_requests.size() >= number; })) {
        return std::nullopt;
    }
    return m_requests[number - 1];
}

} // namespace DiagCloud
