#include "OnePass.h"

#include <algorithm>

namespace DiagSeal
{
namespace
{

std::size_t CommonSize(const std::string& a, const std::string& b)
{
    const std::size_t size = std::min(a.size(), b.size());
    const auto end = a.begin() + static_cast<std::ptrdiff_t>(size);
    return static_cast<std::size_t>(std::mismatch(a.begin(), end, b.begin()).first - a.begin());
}

} // namespace

OnePass OnePass::OfText(const std::string& text, const ByteSet& first)
{
    OnePass part;
    part.m_mayBeEmpty = text.empty();
    part.m_first = first;
    if (!text.empty()) {
        part.m_leads.push_back(text);
        part.m_areWhole = true;
    }
    return part;
}

OnePass OnePass::OfOneByte(const ByteSet& bytes)
{
    OnePass part;
    part.m_mayBeEmpty = false;
    part.m_first = bytes;
    return part;
}

void OnePass::MakeOptional()
{
    m_holds = m_holds && !m_mayBeEmpty;
    m_mayBeEmpty = true;
    m_more |= m_first;
    m_leads.clear();
}

void OnePass::Repeat()
{
    m_holds = m_holds && !m_mayBeEmpty && (m_more & m_first).none();
    m_more |= m_first;
    m_areWhole = false;
}

void OnePass::Add(const OnePass& next)
{
    const bool isEmpty = m_mayBeEmpty && m_first.none(); // or an assertion
    m_holds = m_holds && next.m_holds && (m_more & next.m_first).none();
    if (isEmpty) {
        m_leads = next.m_leads;
        m_areWhole = next.m_areWhole;
    } else if (next.m_first.any()) {
        m_areWhole = false;
    }
    m_first |= m_mayBeEmpty ? next.m_first : ByteSet();
    m_more = next.m_more | (next.m_mayBeEmpty ? m_more : ByteSet());
    m_mayBeEmpty = m_mayBeEmpty && next.m_mayBeEmpty;
}

void OnePass::AddAlternative(const OnePass& other)
{
    m_holds = m_holds && other.m_holds && IsDistinct(other) && !(m_mayBeEmpty && other.m_mayBeEmpty);
    m_more |= other.m_more | (m_mayBeEmpty ? other.m_first : ByteSet());
    m_more |= other.m_mayBeEmpty ? m_first : ByteSet();
    m_first |= other.m_first;
    m_mayBeEmpty = m_mayBeEmpty || other.m_mayBeEmpty;
    m_areWhole = m_areWhole && other.m_areWhole;
    if (m_leads.empty() || other.m_leads.empty()) {
        m_leads.clear();
    } else {
        m_leads.insert(m_leads.end(), other.m_leads.begin(), other.m_leads.end());
    }
}

/** Whether the first bytes tell the alternatives apart. RE2 joins equal beginnings of those that follow each other. */
bool OnePass::IsDistinct(const OnePass& other)
{
    if (m_leads.empty() || other.m_leads.empty()) {
        return (m_first & other.m_first).none();
    }
    for (const std::string& lead : other.m_leads) {
        std::size_t least = 0;
        for (const std::string& known : m_leads) {
            const std::size_t common = CommonSize(known, lead);
            const bool isWithin = common == std::min(known.size(), lead.size());
            if (common < least || (isWithin && (known == lead || !m_areWhole || !other.m_areWhole))) {
                return false;
            }
            least = common;
            if (isWithin) {
                m_more.set(static_cast<unsigned char>((known.size() > common ? known : lead)[common]));
            }
        }
    }
    return true;
}

} // namespace DiagSeal
