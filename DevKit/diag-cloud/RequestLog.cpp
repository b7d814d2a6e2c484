#include "RequestLog.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace DiagCloud
{

namespace
{

std::string TimeOfDay()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 40> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%FT%T", &utc);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ ", static_cast<int>(milliseconds));
    return text.data();
}

/** What a client sends must neither break a line nor reach the terminal as a command to it. */
std::string Printable(const std::string& text)
{
    constexpr std::size_t kLongest = 200;
    std::string printable;
    for (const char c : text.substr(0, kLongest)) {
        printable += c >= ' ' && c <= '~' ? c : '?';
    }
    return text.size() > kLongest ? printable + "..." : printable;
}

std::string Summary(const ReceivedRequest& request)
{
    std::string line = "#" + std::to_string(request.number) + " ";
    switch (request.kind) {
        case RequestKind::kMetadata:
            line += "metadata";
            break;
        case RequestKind::kArchive:
            line += "archive " + Printable(request.archiveId);
            break;
        case RequestKind::kOther:
            line += Printable(request.method) + " " + Printable(request.target);
            break;
    }
    line += ", " + std::to_string(request.bodySize) + (request.complete ? " bytes" : " bytes, then broken off");
    if (request.md5 != Md5Verdict::kNotChecked) {
        line += std::string(", Content-MD5 ") + Describe(request.md5);
    }
    line += ", product " + (request.productId.empty() ? "unknown" : Printable(request.productId));
    // The token itself is a secret of the product.
    line += std::string(", token ") + (FindHeader(request.headers, "x-product-token").empty() ? "absent" : "present");
    return line;
}

} // namespace

RequestLog::RequestLog(bool keep, LineWriter writer) : m_keep(keep), m_writer(std::move(writer)) {}

void RequestLog::Add(ReceivedRequest request, const std::string& remark)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    request.number = ++m_count;
    if (m_writer) {
        m_writer(TimeOfDay() + Summary(request) + " -> " + remark);
    }
    if (m_keep) {
        m_requests.push_back(std::move(request));
    }
    m_added.notify_all();
}

void RequestLog::Print(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_writer) {
        m_writer(TimeOfDay() + Printable(text));
    }
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
