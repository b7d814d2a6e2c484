#include "SealedItem.h"

#include "Sealer.h"
#include "TextFilter.h"

namespace DiagSeal
{

SealedItem::SealedItem(TextFilter* filter, std::uint64_t size, Sealer& sealer)
    : m_filter(filter), m_sealer(sealer), m_bounded(size, [this](std::string_view bytes) { Seal(bytes); })
{}

void SealedItem::Write(std::string_view bytes)
{
    m_isEmpty = m_isEmpty && bytes.empty();
    if (m_filter == nullptr) {
        m_bounded.Write(bytes);
        return;
    }
    m_filtered.clear();
    m_filter->Feed(bytes, m_filtered);
    m_bounded.Write(m_filtered);
}

void SealedItem::Finish(const std::string& lines)
{
    if (m_filter != nullptr) {
        m_filtered.clear();
        m_filter->Finish(m_filtered);
        m_bounded.Write(m_filtered);
    }
    m_bounded.Finish();
    if (!lines.empty()) {
        Seal(m_isAtLineStart ? lines : '\n' + lines);
    }
    m_sealer.Finish();
}

void SealedItem::Seal(std::string_view bytes)
{
    if (!bytes.empty()) {
        m_isAtLineStart = bytes.back() == '\n';
        m_sealer.Write(bytes);
    }
}

} // namespace DiagSeal
