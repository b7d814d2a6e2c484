#include "Examination.h"

#include "Escape.h"
#include "TarReader.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>

namespace DfsOpen
{

namespace
{

const std::string kItemSuffix = ".gz";

/** The member in which the device tells what it has left out of the archive: lines of name, size and reason. */
constexpr const char* kLeftOutName = "dfs_left_out.txt";

/** The name of the item that the member holds; empty when it is not named as an item's member is. */
std::string ItemName(const std::string& memberName)
{
    const std::size_t length = memberName.size();
    if (length <= kItemSuffix.size() || memberName.compare(length - kItemSuffix.size(), length, kItemSuffix) != 0) {
        return {};
    }
    return memberName.substr(0, length - kItemSuffix.size());
}

/** One walk through an archive. */
class Walk
{
public:
    Walk(int descriptor, const PrivateKey* key, const Limits& limits, PlainOutput& output)
        : m_descriptor(descriptor), m_key(key), m_limits(limits), m_budget(limits), m_output(output)
    {}

    ArchiveReport Run()
    {
        try {
            ReadManifest();
            OpenMembers();
        } catch (const ArchiveError& error) {
            if (m_openItem != nullptr) {
                m_openItem->state = ItemState::kCutShort;
            }
            Fault(std::string("the archive cannot be read to its end: ") + error.what());
        }
        CopyRepeatedItems();
        return std::move(m_report);
    }

private:
    void Fault(const std::string& text) { m_report.faults.push_back(text); }

    void Refuse(const TarMember& member, const std::string& why)
    {
        Fault("member \"" + Escape::Name(member.name) + "\" is refused: " + why);
    }

    void ReadManifest()
    {
        TarReader reader(m_descriptor, m_limits, m_budget);
        TarMember member;
        bool found = false;
        while (!found && reader.Next(member)) {
            found = member.name == kManifestName && member.kind == MemberKind::kFile;
        }
        if (!found) {
            Fault(std::string("the archive has no manifest, ") + kManifestName);
            return;
        }
        std::string text;
        if (!ReadText(reader, text)) {
            Fault("the manifest is larger than is accepted");
            return;
        }
        try {
            List(ParseManifest(text));
        } catch (const std::runtime_error& error) {
            Fault(error.what());
        }
    }

    /** Returns false when the member is too large; then its beginning is there. */
    bool ReadText(TarReader& reader, std::string& text) const
    {
        return reader.Read([&](const char* data, std::size_t size) {
            text.append(data, size);
            return text.size() <= m_limits.manifestSize;
        });
    }

    void TellLeftOut(TarReader& reader)
    {
        constexpr std::size_t kLongestLine = 2 * Escape::kLongestName; // Behind the name are its size and the reason.
        std::string text;
        const bool isWhole = ReadText(reader, text);
        std::istringstream lines(text);
        std::size_t count = 0;
        for (std::string line; count < m_limits.members && std::getline(lines, line); ++count) {
            Fault("the device has left out: " + Escape::Name(line, kLongestLine));
        }
        if (!isWhole || lines.peek() != std::istringstream::traits_type::eof()) {
            Fault(std::string(kLeftOutName) + " is longer than is accepted");
        }
    }

    void List(std::vector<ManifestEntry> entries)
    {
        if (entries.size() > m_limits.members) {
            entries.resize(m_limits.members);
            Fault("the manifest lists more items than are accepted; the first " + std::to_string(m_limits.members) +
                  " are shown");
        }
        for (const ManifestEntry& entry : entries) {
            ItemReport item;
            item.entry = entry;
            if (entry.fileName.empty()) {
                item.state = ItemState::kNoName;
            } else if (!IsPlainFileName(entry.fileName)) {
                item.state = ItemState::kUnsafeName;
            } else {
                m_itemOfName.emplace(entry.fileName, m_report.items.size());
            }
            m_report.items.push_back(item);
        }
    }

    void OpenMembers()
    {
        TarReader reader(m_descriptor, m_limits, m_budget);
        TarMember member;
        bool manifestSeen = false;
        bool leftOutSeen = false;
        while (reader.Next(member)) {
            if (member.kind == MemberKind::kHardLink && member.linkTarget == member.name &&
                m_digestOfName.count(ItemName(member.name)) > 0) {
                continue; // so tar stores a file that it was given twice
            }
            if (member.kind != MemberKind::kFile) {
                Refuse(member, "it is a link, a folder or a device");
            } else if (member.name == kManifestName && !manifestSeen) {
                manifestSeen = true;
            } else if (member.name == kLeftOutName && !leftOutSeen) {
                leftOutSeen = true;
                TellLeftOut(reader);
            } else if (!IsPlainFileName(member.name)) {
                Refuse(member, "its name is not that of a plain file");
            } else if (!IsPlainFileName(ItemName(member.name))) {
                Refuse(member, "it is no item");
            } else {
                OpenMember(reader, ItemName(member.name));
            }
        }
    }

    void OpenMember(TarReader& reader, const std::string& name)
    {
        const auto seen = m_digestOfName.find(name);
        if (seen != m_digestOfName.end()) {
            if (DigestOfMember(reader, m_limits) != seen->second) {
                ItemReport item;
                item.entry.fileName = name;
                item.state = ItemState::kNotUnique;
                item.listed = false;
                m_report.items.push_back(item);
            }
            return;
        }

        if (m_itemOfName.count(name) == 0) {
            ItemReport item;
            item.entry.fileName = name;
            item.listed = false;
            m_itemOfName.emplace(name, m_report.items.size());
            m_report.items.push_back(item);
        }
        ItemReport& item = m_report.items[m_itemOfName.at(name)];
        if (!IsWanted(name)) {
            item.state = ItemState::kUnopened;
            m_digestOfName.emplace(name, DigestOfMember(reader, m_limits));
            return;
        }
        m_openItem = &item;
        Open(reader, item);
        m_openItem = nullptr;
    }

    bool IsWanted(const std::string& name) const
    {
        return std::any_of(m_report.items.begin(), m_report.items.end(), [&](const ItemReport& item) {
            return item.entry.fileName == name && m_output.Wants(item.entry);
        });
    }

    void Open(TarReader& reader, ItemReport& item)
    {
        bool begun = false;
        bool stored = true;
        const OpenedItem opened = OpenItem(reader, m_key, m_limits, m_budget, [&](const char* data, std::size_t size) {
            if (!begun) {
                begun = m_output.Begin(item.entry);
            }
            stored = begun && m_output.Write(data, size);
            return stored;
        });
        item.state = opened.state;
        item.storedSize = opened.storedSize;
        item.plainSize = opened.plainSize;
        m_digestOfName.emplace(item.entry.fileName, opened.digest);

        const bool whole = item.state == ItemState::kWhole;
        if (whole && !begun) {
            begun = stored = m_output.Begin(item.entry); // a command may have printed nothing
        }
        if (begun) {
            stored = m_output.End(whole) && stored;
        }
        if (!stored) {
            item.state = ItemState::kNotWritten;
            item.problem = m_output.Problem();
        }
    }

    /** A request that lists a type twice lists a file twice. */
    void CopyRepeatedItems()
    {
        for (std::size_t index = 0; index < m_report.items.size(); ++index) {
            ItemReport& item = m_report.items[index];
            const auto first = m_itemOfName.find(item.entry.fileName);
            if (item.listed && first != m_itemOfName.end() && first->second < index) {
                ItemReport copy = m_report.items[first->second];
                copy.entry = item.entry;
                item = std::move(copy);
            }
        }
    }

    int m_descriptor;
    const PrivateKey* m_key;
    const Limits& m_limits;
    Budget m_budget;
    PlainOutput& m_output;
    ArchiveReport m_report;
    std::map<std::string, std::size_t> m_itemOfName;
    std::map<std::string, std::string> m_digestOfName;
    ItemReport* m_openItem = nullptr;
};

} // namespace

bool ArchiveReport::IsWhole() const
{
    return faults.empty() && std::all_of(items.begin(), items.end(),
                                         [](const ItemReport& item) { return item.listed && IsSound(item.state); });
}

ArchiveReport Examine(int descriptor, const PrivateKey* key, const Limits& limits, PlainOutput& output)
{
    return Walk(descriptor, key, limits, output).Run();
}

} // namespace DfsOpen
