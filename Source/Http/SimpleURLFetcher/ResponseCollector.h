#pragma once

#include "BodyBound.h"
#include "HeaderMap.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Http
{
/**
 * Takes in an answer as it arrives. What it takes is bounded: no server can exhaust the device's memory.
 *
 * Of several answers to one request (100 Continue, a proxy's answer to CONNECT, redirects) only the last one stays. Of
 * a field that comes more than once the last value stays. Trailer fields are dropped (RFC 9110, section 6.5.1). Not
 * thread-safe.
 */
class ResponseCollector
{
public:
    static constexpr std::size_t kMaxHeaderSize = std::size_t{256} * 1024;

    /** For the answers to come. */
    void SetBodyBound(BodyBound bound) { m_bodyBound = bound; }

    void Clear();

    /**
     * @param line a line of the header section: status line, field or the empty line at its end
     * @return false, once and for all of this answer, when the header section is too large or memory is short
     */
    bool AddHeaderLine(std::string_view line) noexcept;

    /** @return false when memory is short, or the body is beyond its bound and to be refused */
    bool AddBody(std::string_view bytes) noexcept;

    /** Whether an answer has begun whose header section has not ended. */
    bool IsInHeaderSection() const noexcept { return m_isInHeaderSection; }

    /** How many bytes of the body were dropped. */
    std::uint64_t DroppedSize() const noexcept { return m_droppedSize; }

    HeaderMap TakeHeaders() { return std::move(m_headers); }
    std::string TakeBody() { return std::move(m_body); }

private:
    void AddField(std::string_view line);

    HeaderMap m_headers;
    /** Of the field that a folded line would continue (RFC 9112, section 5.2). */
    std::string* m_lastValue = nullptr;
    std::size_t m_headerSize = 0;
    bool m_isInHeaderSection = false;
    BodyBound m_bodyBound;
    std::string m_body;
    std::uint64_t m_droppedSize = 0;
};
} // namespace Http
