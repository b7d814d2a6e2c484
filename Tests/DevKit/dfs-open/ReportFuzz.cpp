#include "FactReader.h"
#include "FuzzTarget.h"
#include "Page.h"
#include "Utf8Text.h"

#include <re2/re2.h>

#include <algorithm>

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
    FUZZ_CHECK(page.find("<script") == page.rfind("<script") && page.find("<style") == page.rfind("<style"));
    page.erase(page.rfind("<script"));
    page.erase(0, page.find("</style>"));
    // Nothing from outside begins a tag of the templates, ends the value of its attribute, or is an address.
    FUZZ_CHECK(!RE2::PartialMatch(page, R"re( href="[^#])re"));
    RE2::GlobalReplace(&page, R"re(<(/?\w+(\s+[\w-]+(="[^"<>]*")?)*\s*/?)>)re", "");
    FUZZ_CHECK(page.find('<') == std::string::npos);
}
