#include "OnePass.h"

#include <algorithm>
#include <string_view>

namespace DiagSeal
{
namespace
{

std::size_t CommonSize(std::string_view a, std::string_view b)
{
    a = a.substr(0, b.size());
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin());
}

/** The next one of texts that have a NUL behind each. */
std::string_view Take(std::string_view& texts)
{
    const std::string_view text = texts.substr(0, texts.find('\0'));
    texts.remove_prefix(text.size() + 1);
    return text;
}

} // namespace

OnePass OnePass::OfText(const std::string& text, const ByteSet& first)
{
    OnePass part;
    part.m_mayBeEmpty = text.empty();
    part.m_first = first;
    if (!text.empty()) {
        part.m_leads = text;
        part.m_leads += '\0';
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
        m_leads += other.m_leads;
    }
}

/** Whether the first bytes tell the alternatives apart. RE2 joins equal beginnings of those that follow each other. */
bool OnePass::IsDistinct(const OnePass& other)
{
    if (m_leads.empty() || other.m_leads.empty()) {
        return (m_first & other.m_first).none();
    }
    for (std::string_view others = other.m_leads; !others.empty();) {
        const std::string_view lead = Take(others);
        std::size_t least = 0;
        for (std::string_view leads = m_leads; !leads.empty();) {
            const std::string_view known = Take(leads);
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
