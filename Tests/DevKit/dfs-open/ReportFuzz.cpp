#include "FactReader.h"
#include "FuzzTarget.h"
#include "Page.h"
#include "Utf8Text.h"

#include <algorithm>

namespace
{
std::size_t Count(const std::string& page, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = page.find(text); at != std::string::npos; at = page.find(text, at + 1)) {
        ++count;
    }
    return count;
}

/** Nothing from outside begins a tag of the templates, ends the value of its attribute, or is an address. */
void CheckTags(const std::string& page)
{
    for (std::size_t at = page.find('<'); at != std::string::npos; at = page.find('<', at + 1)) {
        const std::size_t end = page.find('>', at);
        FUZZ_CHECK(end != std::string::npos);
        FUZZ_CHECK(page.find('<', at + 1) > end);
        const std::string tag = page.substr(at, end - at);
        for (std::size_t open = tag.find('"'), close = 0; open != std::string::npos; open = tag.find('"', close + 1)) {
            close = tag.find('"', open + 1);
            FUZZ_CHECK(close != std::string::npos && tag[open - 1] == '=');
            FUZZ_CHECK(close + 1 == tag.size() || tag[close + 1] == ' ' || tag[close + 1] == '/');
        }
        FUZZ_CHECK(Count(tag, " href=\"") == Count(tag, " href=\"#"));
    }
}
} // namespace

/** The first line is the item's name and sub-type; the rest its text. */
void CheckInput(const std::string& input)
{
    const std::size_t end = std::min(input.find('\n'), input.size());
    DfsReport::Archive archive;
    archive.collection.name = input.substr(0, end);
    // More than the page shows at once.
    archive.collection.faults.assign(50, archive.collection.name);
    archive.collection.documents.resize(1);
    DfsReport::Document& document = archive.collection.documents.front();
    document.item.entry = {archive.collection.name, archive.collection.name, archive.collection.name};
    document.item.outcome = DfsOpen::Outcome::Whole;
    document.text = input.substr(std::min(end + 1, input.size()));
    archive.facts = DfsReport::ReadFacts(archive.collection);
    archive.findings = DfsReport::Find(archive.collection, archive.facts);

    std::string page;
    DfsReport::Archive other;
    other.collection.name = archive.collection.name;
    other.facts.serialNumber = archive.collection.name;
    DfsReport::WritePage(archive, &other, [&page](std::string_view bytes) { page += bytes; });
    FUZZ_CHECK(Utf8Text::IsValid(page));
    for (const char character : page) {
        FUZZ_CHECK(static_cast<unsigned char>(character) >= ' ' || character == '\n' || character == '\t');
    }
    FUZZ_CHECK(Count(page, "<script") == 1 && Count(page, "<style") == 1);
    page.erase(page.rfind("<script"));
    page.erase(0, page.find("</style>"));
    CheckTags(page);
}
