#include "Section.h"

#include "Lines.h"

#include <algorithm>

namespace DfsReport
{

namespace
{

struct Marks
{
    std::string_view before;
    std::string_view behind;
};

constexpr Marks kMarks = {"==> ", " <=="};
constexpr Marks kEarlierMarks = {"==== ", " ===="};

bool IsHeading(std::string_view line, const Marks& marks)
{
    return line.size() > marks.before.size() + marks.behind.size() && StartsWith(line, marks.before) &&
           line.substr(line.size() - marks.behind.size()) == marks.behind;
}

// Devices with earlier scripts set off each heading otherwise. As other texts may hold such lines, a report is an
// earlier one only if it begins with one.
Marks MarksOf(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
    Line first;
    return Lines(text).Next(first) && IsHeading(first.text, kEarlierMarks) ? kEarlierMarks : kMarks;
}

} // namespace

std::vector<Section> Sections(const Document& document, std::size_t index)
{
    const std::string_view text = document.text;
    std::vector<Section> sections = {{index, document.item.entry.subType, text, 1}};
    const auto end = [&](const char* at) {
        const std::string_view body = sections.back().body;
        sections.back().body = body.substr(0, static_cast<std::size_t>(at - body.data()));
    };
    const Marks marks = MarksOf(text);
    Lines lines(text);
    for (Line line; sections.size() < kMostSections && lines.Next(line);) {
        if (IsHeading(line.text, marks)) {
            const std::string_view title =
                line.text.substr(marks.before.size(), line.text.size() - marks.before.size() - marks.behind.size());
            end(line.text.data());
            const std::size_t begin =
                std::min(static_cast<std::size_t>(line.text.data() - text.data()) + line.text.size() + 1, text.size());
            sections.push_back({index, title, text.substr(begin), line.number + 1});
        }
    }
    return sections;
}

} // namespace DfsReport
