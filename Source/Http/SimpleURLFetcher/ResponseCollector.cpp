#include "ResponseCollector.h"

#include "DPrint.h"

#include <new>

namespace Http
{
namespace
{
const DPrint s_log("SimpleURLFetcher");

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}
} // namespace

void ResponseCollector::Clear()
{
    m_headers.clear();
    m_lastValue = nullptr;
    m_headerSize = 0;
    m_isInHeaderSection = false;
    std::string().swap(m_body);
    m_droppedSize = 0;
}

bool ResponseCollector::AddHeaderLine(std::string_view line) noexcept
{
    constexpr std::string_view kStatusLine = "HTTP/";
    if (line.substr(0, kStatusLine.size()) == kStatusLine) {
        Clear();
        m_isInHeaderSection = true;
        return true;
    }
    if (!m_isInHeaderSection) {
        return true;
    }
    if (Trim(line).empty()) {
        m_isInHeaderSection = false;
        return true;
    }
    m_headerSize += line.size();
    if (m_headerSize > kMaxHeaderSize) {
        s_log.Log(1, "The header section of the answer exceeds %zu bytes, it is refused\n", kMaxHeaderSize);
        return false;
    }
    try {
        AddField(line);
    } catch (const std::bad_alloc&) {
        s_log.Log(1, "No memory for the header section of the answer\n");
        return false;
    }
    return true;
}

void ResponseCollector::AddField(std::string_view line)
{
    const bool isContinuation = line.front() == ' ' || line.front() == '\t';
    const std::size_t colon = line.find(':');
    if (isContinuation) {
        if (m_lastValue != nullptr) {
            m_lastValue->append(" ").append(Trim(line));
        }
    } else if (colon != std::string_view::npos) {
        m_lastValue = &m_headers[std::string(line.substr(0, colon))];
        *m_lastValue = Trim(line.substr(colon + 1));
    }
}

bool ResponseCollector::AddBody(std::string_view bytes) noexcept
{
    const std::string_view kept = bytes.substr(0, m_bodyBound.bytes - m_body.size());
    m_droppedSize += bytes.size() - kept.size();
    if (m_droppedSize > 0 && m_bodyBound.longBody == LongBody::Refuse) {
        s_log.Log(1, "The body of the answer exceeds %zu bytes, it is refused\n", m_bodyBound.bytes);
        return false;
    }
    try {
        m_body.append(kept);
    } catch (const std::bad_alloc&) {
        s_log.Log(1, "No memory for the body of the answer\n");
        return false;
    }
    return true;
}
} // namespace Http
