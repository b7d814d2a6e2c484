#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace DfsReport
{

/** The titles above a table that a tool printed. Points into the title line. Thread-safe. */
class Columns
{
public:
    explicit Columns(std::string_view titles);

    bool Has(std::string_view title) const { return Find(title).has_value(); }

    /** The row's word under the title; empty when there is none. */
    std::string_view Get(const std::vector<std::string_view>& row, std::string_view title) const;

    /** Which word the title is. */
    std::optional<std::size_t> Find(std::string_view title) const;

private:
    std::vector<std::string_view> m_titles;
};

} // namespace DfsReport
