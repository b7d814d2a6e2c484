#include "ReportRun.h"

#include "FactReader.h"
#include "FileDescriptor.h"
#include "Glance.h"
#include "Numbers.h"
#include "Page.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <stdlib.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace DfsReport
{

namespace
{

// A file that takes its name only once it is complete; until then, nothing is under that name.
class PageFile
{
public:
    explicit PageFile(const std::string& path) : m_path(path), m_temporary(path + ".XXXXXX")
    {
        RequirePageOrNothing();
        // Of mode 0600: it holds a customer's files.
        m_file = FileDescriptor(mkostemp(m_temporary.data(), O_CLOEXEC));
        Require(bool(m_file));
    }

    ~PageFile()
    {
        if (m_file) {
            unlink(m_temporary.c_str());
        }
    }

    PageFile(const PageFile&) = delete;
    PageFile& operator=(const PageFile&) = delete;

    void Write(std::string_view bytes)
    {
        constexpr std::size_t kPiece = std::size_t{256} * 1024;
        m_waiting += bytes;
        if (m_waiting.size() >= kPiece) {
            Require(m_file.WriteAll(m_waiting));
            m_waiting.clear();
        }
    }

    void Finish()
    {
        Require(m_file.WriteAll(m_waiting) && std::rename(m_temporary.c_str(), m_path.c_str()) == 0);
        const bool isStored = m_file.Reset();
        Require(isStored);
    }

private:
    /** What has the name already is replaced only when it is a page: neither a device, a link nor somebody's archive.
     */
    void RequirePageOrNothing() const
    {
        constexpr std::string_view kBegin = "<!DOCTYPE html>";
        struct stat status
        {};
        if (lstat(m_path.c_str(), &status) != 0 || (S_ISREG(status.st_mode) && status.st_size == 0)) {
            return;
        }
        std::string begin(kBegin.size(), '\0');
        if (!S_ISREG(status.st_mode) || !std::ifstream(m_path).read(begin.data(), kBegin.size()) || begin != kBegin) {
            throw std::invalid_argument(m_path + " is there already, and is no page");
        }
    }

    void Require(bool isDone) const
    {
        if (!isDone) {
            throw std::invalid_argument("cannot write " + m_path + ": " + std::generic_category().message(errno));
        }
    }

    std::string m_path;
    std::string m_temporary;
    FileDescriptor m_file;
    std::string m_waiting;
};

} // namespace

Archive Read(const std::string& path, const DfsOpen::PrivateKey& key, const DfsOpen::Limits& limits)
{
    Archive archive;
    archive.collection = Collect(path, key, limits);
    archive.facts = ReadFacts(archive.collection);
    archive.findings = Find(archive.collection, archive.facts);
    return archive;
}

bool Run(const Options& options, std::ostream& out)
{
    const DfsOpen::PrivateKey key = DfsOpen::ReadPrivateKey(options.key);
    const Archive archive = Read(options.archive, key, options.limits);
    std::optional<Archive> other;
    if (options.other) {
        other = Read(*options.other, key, options.limits);
    }
    PageFile file(options.page);
    WritePage(archive, other ? &*other : nullptr, [&file](std::string_view bytes) { file.Write(bytes); });
    file.Finish();
    out << options.page << ": " << Counted(archive.findings.size(), "finding")
        << (Unread(archive.collection, archive.facts).empty() ? "" : "; not all could be read") << '\n';
    return archive.IsSound();
}

} // namespace DfsReport
