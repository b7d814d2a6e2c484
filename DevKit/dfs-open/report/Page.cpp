#include "Page.h"

#include "Assets.h"
#include "Charts.h"
#include "Glance.h"
#include "Markup.h"
#include "Numbers.h"
#include "TextWriter.h"
#include "Timeline.h"

#include <openssl/evp.h>

#include <array>
#include <map>
#include <set>

namespace DfsReport
{

namespace
{

// How a content security policy names a script or style.
std::string PolicyHash(std::string_view content)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int size = 0;
    EVP_Digest(content.data(), content.size(), digest.data(), &size, EVP_sha256(), nullptr);
    std::array<unsigned char, std::size_t{2} * EVP_MAX_MD_SIZE> text;
    const int length = EVP_EncodeBlock(text.data(), digest.data(), static_cast<int>(size));
    return "sha256-" + std::string(text.begin(), text.begin() + length);
}

std::string SizeOf(const DfsOpen::Item& item)
{
    if (item.plainSize) {
        return Bytes(static_cast<double>(*item.plainSize));
    }
    return item.storedSize ? Bytes(static_cast<double>(*item.storedSize)) + " sealed" : "";
}

// Of what is no text, only the beginning is shown.
std::string_view ShownText(const Document& document, std::string& remark)
{
    constexpr std::size_t kLooked = 8192, kShown = 2048;
    const std::string_view text = document.text;
    const auto add = [&remark](const std::string& more) { remark += (remark.empty() ? "" : "; ") + more; };
    if (text.substr(0, kLooked).find('\0') != std::string_view::npos) {
        add("it is no text; its first " + Bytes(static_cast<double>(std::min(kShown, text.size()))) + " are shown");
        return text.substr(0, kShown);
    }
    if (document.isCut) {
        add("only its beginning is shown");
    } else if (text.empty() && document.item.outcome == DfsOpen::Outcome::Whole) {
        add(document.item.plainSize.value_or(0) == 0 ? "it is empty" : "the same file is shown above");
    }
    return text;
}

void WriteItem(const Document& document, std::size_t index, const std::set<std::size_t>& linked, const PageSink& page)
{
    const DfsOpen::Item& item = document.item;
    std::string remark = item.text;
    if (!item.isListed) {
        remark += (remark.empty() ? "" : "; ") + std::string("the manifest does not list it");
    }
    const std::string_view text = ShownText(document, remark);
    const bool isSealed = item.outcome == DfsOpen::Outcome::Sealed;
    View view;
    view.Set("index", std::to_string(index))
        .Set("state", !item.IsSound() ? "broken" : (isSealed ? "unsure" : "sound"))
        .Set("outcome", ToText(item.outcome))
        .Set("name", NameOf(item))
        .Set("file", Markup::Shortened(item.entry.fileName, 255) +
                         (item.entry.type.empty() ? "" : " \xc2\xb7 " + Markup::Shortened(item.entry.type, 100)))
        .Set("size", SizeOf(item))
        .Set("hasRemark", !remark.empty())
        .Set("remark", Markup::Shortened(remark, 1000))
        .Set("hasText", !text.empty());
    Render(Assets::kItem, view, page);
    if (!text.empty()) {
        WriteText(index, text, linked, page);
        page("</div>\n");
    }
    page("</details>\n");
}

// Notes each place that the page links to, so that the links lead there without script.
void NoteLinks(const View& view, std::set<std::string>& links)
{
    const auto href = view.Texts().find("href");
    if (href != view.Texts().end()) {
        links.insert(href->second);
    }
    for (const auto& [name, list] : view.Lists()) {
        for (const View& entry : list) {
            NoteLinks(entry, links);
        }
    }
}

std::set<std::size_t> LinkedLines(const std::set<std::string>& links, std::size_t document)
{
    const std::string begin = Anchor({document, 0}) + "-L";
    std::set<std::size_t> lines;
    for (auto link = links.lower_bound(begin); link != links.end() && link->compare(0, begin.size(), begin) == 0;
         ++link) {
        lines.insert(std::stoul(link->substr(begin.size())));
    }
    return lines;
}

} // namespace

void WritePage(const Archive& archive, const Archive* other, const PageSink& page)
{
    View top;
    top.Set("style", Assets::kStyle).Set("styleHash", PolicyHash(Assets::kStyle));
    top.Set("scriptHash", PolicyHash(Assets::kScript)).Set("script", Assets::kScript);
    SetGlance(top, archive.collection, archive.facts, archive.findings);
    top.Set("charts", Charts(archive.facts));
    SetTimeline(top, archive.facts.log);
    top.Set("isCompared", other != nullptr);
    if (other != nullptr) {
        SetComparison(top, archive, *other);
    }
    top.Set("itemsTitle", Counted(archive.collection.documents.size(), "item"));
    Render(Assets::kTop, top, page);

    std::set<std::string> links;
    NoteLinks(top, links);
    for (std::size_t index = 0; index < archive.collection.documents.size(); ++index) {
        WriteItem(archive.collection.documents[index], index, LinkedLines(links, index), page);
    }
    Render(Assets::kBottom, top, page);
}

} // namespace DfsReport
