#include "Columns.h"

#include "Lines.h"

#include <algorithm>

namespace DfsReport
{

Columns::Columns(std::string_view titles) : m_titles(Words(titles)) {}

std::optional<std::size_t> Columns::Find(std::string_view title) const
{
    const auto found = std::find(m_titles.begin(), m_titles.end(), title);
    return found == m_titles.end() ? std::nullopt : std::optional<std::size_t>(found - m_titles.begin());
}

std::string_view Columns::Get(const std::vector<std::string_view>& row, std::string_view title) const
{
    const auto index = Find(title);
    return index && *index < row.size() ? row[*index] : std::string_view();
}

} // namespace DfsReport
