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

// The member in which the device tells what it has left out of the archive: lines of name, size and reason.
constexpr const char* kLeftOutName = "dfs_left_out.txt";

// The name of the item that the member holds; empty when it is not named as an item's member is.
std::string ItemName(const std::string& memberName)
{
    const std::size_t length = memberName.size();
    if (length <= kItemSuffix.size() || memberName.compare(length - kItemSuffix.size(), length, kItemSuffix) != 0) {
        return {};
    }
    return memberName.substr(0, length - kItemSuffix.size());
}

// One walk through an archive.
class Walk
{
public:
    Walk(int descriptor, const PrivateKey& key, const Limits& limits, PlainOutput& output)
        : m_descriptor(descriptor), m_key(key), m_limits(limits), m_budget(limits), m_output(output)
    {}

    ArchiveReport Run()
    {
        try {
            ReadManifest();
            OpenMembers();
        } catch (const ArchiveError& error) {
            Blame(std::string("the archive cannot be read to its end: ") + error.what());
        }
        CopyRepeatedItems();
        return std::move(m_report);
    }

private:
    void Blame(const std::string& text) { m_report.faults.push_back(text); }

    void Refuse(const TarMember& member, const std::string& why)
    {
        Blame("member \"" + Escape::Name(member.name) + "\" is refused: " + why);
    }

    void ReadManifest()
    {
        TarReader reader(m_descriptor, m_limits, m_budget);
        TarMember member;
        bool found = false;
        while (!found && reader.Next(member)) {
            found = member.name == kManifestName && member.kind == MemberKind::File;
        }
        if (!found) {
            Blame(std::string("the archive has no manifest, ") + kManifestName);
            return;
        }
        std::string text;
        if (!ReadText(reader, text)) {
            Blame("the manifest is larger than is accepted");
            return;
        }
        try {
            List(ParseManifest(text));
        } catch (const std::runtime_error& error) {
            Blame(error.what());
        }
    }

    // Returns false when the member is too large; then its beginning is there.
    bool ReadText(TarReader& reader, std::string& text) const
    {
        return reader.Read(m_limits.manifestSize, [&text](std::string_view bytes) { text += bytes; });
    }

    void TellLeftOut(TarReader& reader)
    {
        // Behind the name are its size and the reason.
        constexpr std::size_t kLongestLine = 2 * Escape::kLongestName;
        std::string text;
        const bool isWhole = ReadText(reader, text);
        std::istringstream lines(text);
        std::size_t count = 0;
        for (std::string line; count < m_limits.members && std::getline(lines, line); ++count) {
            Blame("the device has left out: " + Escape::Name(line, kLongestLine));
        }
        if (!isWhole || lines.peek() != std::istringstream::traits_type::eof()) {
            Blame(std::string(kLeftOutName) + " is longer than is accepted");
        }
    }

    void List(std::vector<ManifestEntry> entries)
    {
        if (entries.size() > m_limits.members) {
            entries.resize(m_limits.members);
            Blame("the manifest lists more items than are accepted; the first " + std::to_string(m_limits.members) +
                  " are shown");
        }
        for (const ManifestEntry& entry : entries) {
            Item item;
            item.entry = entry;
            if (entry.fileName.empty()) {
                item.text = "the manifest names no file for it";
            } else if (!IsPlainFileName(entry.fileName)) {
                item.outcome = Outcome::Refused;
                item.text = "its name is not that of a plain file";
            } else {
                m_itemOfName.emplace(entry.fileName, m_report.items.size());
            }
            m_report.items.push_back(item);
        }
    }

    // An item that the manifest does not list.
    Item& Unlisted(const std::string& name)
    {
        Item& item = m_report.items.emplace_back();
        item.entry.fileName = name;
        item.isListed = false;
        return item;
    }

    void OpenMembers()
    {
        TarReader reader(m_descriptor, m_limits, m_budget);
        TarMember member;
        bool manifestSeen = false;
        bool leftOutSeen = false;
        while (reader.Next(member)) {
            if (member.kind == MemberKind::HardLink && member.linkTarget == member.name &&
                m_digestOfName.count(ItemName(member.name)) > 0) {
                // This is how tar stores a file that it was given twice.
                continue;
            }
            if (member.kind != MemberKind::File) {
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
                Item& item = Unlisted(name);
                item.outcome = Outcome::Refused;
                item.text = "another member has the same name";
            }
            return;
        }
        if (m_itemOfName.emplace(name, m_report.items.size()).second) {
            Unlisted(name);
        }
        Item& item = m_report.items[m_itemOfName.at(name)];
        try {
            m_digestOfName.emplace(name, IsWanted(name) ? Open(reader, item) : Pass(reader, item));
        } catch (const ArchiveError&) {
            item.outcome = Outcome::Damaged;
            item.text = "cut short: the archive cannot be read further";
            throw;
        }
    }

    bool IsWanted(const std::string& name) const
    {
        return std::any_of(m_report.items.begin(), m_report.items.end(),
                           [&](const Item& item) { return item.entry.fileName == name && m_output.Wants(item.entry); });
    }

    // Leaves the item as it is. Returns its digest.
    std::string Pass(TarReader& reader, Item& item) const
    {
        item.outcome = Outcome::Sealed;
        item.text.clear();
        return DigestOfMember(reader, m_limits);
    }

    // Gives the item to the output. Returns its digest.
    std::string Open(TarReader& reader, Item& item)
    {
        bool isBegun = false;
        const auto begin = [&] {
            if (!isBegun) {
                m_output.Begin(item.entry);
                isBegun = true;
            }
        };
        const auto write = [&](std::string_view bytes) {
            begin();
            m_output.Write(bytes);
        };
        std::string digest = OpenItem(reader, m_key, m_limits, m_budget, write, item);
        try {
            if (item.outcome == Outcome::Whole) {
                // A command may have printed nothing.
                begin();
            }
            if (isBegun) {
                m_output.End(item.outcome == Outcome::Whole);
            }
        } catch (const Fault& fault) {
            item.outcome = item.outcome == Outcome::Whole ? fault.GetOutcome() : item.outcome;
            item.text += (item.text.empty() ? "" : "; ") + std::string(fault.what());
        }
        return digest;
    }

    // A request that lists a type twice lists a file twice.
    void CopyRepeatedItems()
    {
        for (std::size_t index = 0; index < m_report.items.size(); ++index) {
            Item& item = m_report.items[index];
            const auto first = m_itemOfName.find(item.entry.fileName);
            if (item.isListed && first != m_itemOfName.end() && first->second < index) {
                Item copy = m_report.items[first->second];
                copy.entry = item.entry;
                item = std::move(copy);
            }
        }
    }

    int m_descriptor;
    const PrivateKey& m_key;
    const Limits& m_limits;
    Budget m_budget;
    PlainOutput& m_output;
    ArchiveReport m_report;
    std::map<std::string, std::size_t> m_itemOfName;
    std::map<std::string, std::string> m_digestOfName;
};

} // namespace

bool ArchiveReport::IsSound() const
{
    return faults.empty() && std::all_of(items.begin(), items.end(), [](const Item& item) { return item.IsSound(); });
}

ArchiveReport Examine(int descriptor, const PrivateKey& key, const Limits& limits, PlainOutput& output)
{
    return Walk(descriptor, key, limits, output).Run();
}

} // namespace DfsOpen
