#include "Collection.h"

#include "Examination.h"
#include "Markup.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <utility>

namespace DfsReport
{

namespace
{

struct Text
{
    std::string bytes;
    bool isCut = false;
};

// Keeps the plain content of every item, by file name.
class TextOutput : public DfsOpen::PlainOutput
{
public:
    void Begin(const DfsOpen::ManifestEntry& entry) override { m_current = &m_texts[entry.fileName]; }

    void Write(std::string_view bytes) override
    {
        const std::string_view room = bytes.substr(0, std::min(kLongestText - m_current->bytes.size(), m_left));
        std::size_t taken = 0;
        while (taken < room.size() && m_linesLeft > 0) {
            const std::size_t end = room.find('\n', taken);
            taken = end == std::string_view::npos ? room.size() : end + 1;
            m_linesLeft -= end == std::string_view::npos ? 0 : 1;
        }
        m_current->bytes += room.substr(0, taken);
        m_current->isCut = m_current->isCut || taken < bytes.size();
        m_left -= taken;
    }

    // Gives the text away; a file that is listed again has none the second time.
    Text Take(const std::string& fileName) { return std::exchange(m_texts[fileName], {}); }

private:
    std::map<std::string, Text> m_texts;
    Text* m_current = nullptr;
    std::size_t m_left = kMostText;
    std::size_t m_linesLeft = kMostLines;
};

} // namespace

std::string NameOf(const DfsOpen::Item& item)
{
    const std::string& name = item.entry.subType.empty() ? item.entry.fileName : item.entry.subType;
    return name.empty() ? "an item without a name" : Markup::Shortened(name, 100);
}

Collection Collect(const std::string& path, const DfsOpen::PrivateKey& key, const DfsOpen::Limits& limits)
{
    const FileDescriptor archive = DfsOpen::OpenArchive(path);
    TextOutput texts;
    DfsOpen::ArchiveReport report = DfsOpen::Examine(archive.Get(), key, limits, texts);

    Collection collection;
    collection.name = std::filesystem::path(path).filename().string();
    struct stat status
    {};
    if (fstat(archive.Get(), &status) == 0) {
        collection.size = static_cast<std::uint64_t>(status.st_size);
    }
    collection.isSealed = key == nullptr;
    collection.faults = std::move(report.faults);
    for (DfsOpen::Item& item : report.items) {
        Text text = texts.Take(item.entry.fileName);
        collection.documents.push_back({std::move(item), std::move(text.bytes), text.isCut});
    }
    return collection;
}

} // namespace DfsReport
