#include "Section.h"

#include "Lines.h"

namespace DfsReport
{

namespace
{

constexpr std::string_view kBefore = "==> ";
constexpr std::string_view kBehind = " <==";

bool IsHeading(std::string_view line)
{
    return line.size() > kBefore.size() + kBehind.size() && StartsWith(line, kBefore) &&
           line.substr(line.size() - kBehind.size()) == kBehind;
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
    Lines lines(text);
    for (Line line; sections.size() < kMostSections && lines.Next(line);) {
        if (IsHeading(line.text)) {
            const std::string_view title =
                line.text.substr(kBefore.size(), line.text.size() - kBefore.size() - kBehind.size());
            end(line.text.data());
            const std::size_t begin =
                std::min(static_cast<std::size_t>(line.text.data() - text.data()) + line.text.size() + 1, text.size());
            sections.push_back({index, title, text.substr(begin), line.number + 1});
        }
    }
    return sections;
}

} // namespace DfsReport
