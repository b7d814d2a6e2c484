#include "TarReader.h"

#include "Gunzip.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace DfsOpen
{

// gzip unpacks one such piece to 1 MiB at the most, which is held in memory.
constexpr std::size_t kInputChunk = 1024;
// What libarchive may read for one header, or between two pieces of content: it keeps what it finds there in memory.
constexpr std::size_t kLongestHeader = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kOutputChunk = std::size_t{64} * 1024;

constexpr Gunzip::Words kWords = {"it is not a gzip file", "its compressed data is damaged", "it is cut short",
                                  "it is too large"};

// The unpacked bytes of the file as libarchive asks for them.
struct TarReader::Source
{
    Source(int fd, Budget& archiveBudget)
        : descriptor(fd),
          budget(archiveBudget),
          gunzip(
              kWords, [this](std::string_view bytes) { unpacked += bytes; }, std::numeric_limits<std::uint64_t>::max(),
              archiveBudget)
    {}
    ~Source() { archive_read_free(reader); }

    // Unpacks until there is something; false when there will be no more: the file ends, or has a fault.
    bool Fill()
    {
        unpacked.clear();
        try {
            while (unpacked.empty() && fault.empty() && !ended) {
                const ssize_t got = read(descriptor, input.data(), input.size());
                ended = got == 0;
                if (ended) {
                    gunzip.Finish();
                } else if (got > 0) {
                    gunzip.Feed({input.data(), static_cast<std::size_t>(got)});
                } else if (errno != EINTR) {
                    fault = "it cannot be read: " + std::generic_category().message(errno);
                }
            }
        } catch (const Fault& found) {
            fault = found.what();
        }
        return !unpacked.empty();
    }

    // Reads the file to its end, for the checksum there.
    void Finish()
    {
        while (Fill()) {
        }
        if (!fault.empty()) {
            throw ArchiveError(fault);
        }
    }

    // Libarchive could not go on: what is wrong with the file beneath it, if anything is, is the better reason.
    [[noreturn]] void Fail()
    {
        Finish();
        throw ArchiveError("it is not a whole tar file");
    }

    static la_ssize_t OnRead(archive* /*reader*/, void* context, const void** data)
    {
        auto* source = static_cast<Source*>(context);
        source->overhead += source->unpacked.size();
        if (!source->isSkipping && source->overhead > kLongestHeader) {
            source->fault = "it has a header that is larger than is accepted";
            return ARCHIVE_FATAL;
        }
        if (!source->Fill() && !source->fault.empty()) {
            return ARCHIVE_FATAL;
        }
        *data = source->unpacked.data();
        return static_cast<la_ssize_t>(source->unpacked.size());
    }

    int descriptor;
    Budget& budget;
    Gunzip gunzip;
    std::array<char, kInputChunk> input{};
    std::string unpacked;
    std::string fault;
    bool ended = false;
    std::size_t overhead = 0; ///< Bytes read since libarchive last gave a header or content.
    bool isSkipping = false;
    archive* reader = archive_read_new();
    archive_entry* entry = nullptr;
};

FileDescriptor OpenArchive(const std::string& path)
{
    // Opening a named pipe must not block.
    FileDescriptor archive(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!archive) {
        throw std::invalid_argument("cannot open " + path + ": " + std::generic_category().message(errno));
    }
    struct stat status
    {};
    if (fstat(archive.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw std::invalid_argument(path + " is not a regular file");
    }
    return archive;
}

TarReader::TarReader(int descriptor, const Limits& limits, Budget& budget) : m_memberLimit(limits.members)
{
    if (lseek(descriptor, 0, SEEK_SET) != 0) {
        throw ArchiveError("it is not a regular file");
    }
    m_source = std::make_unique<Source>(descriptor, budget);
    archive* reader = m_source->reader;
    if (reader == nullptr || archive_read_support_format_tar(reader) != ARCHIVE_OK) {
        throw std::bad_alloc();
    }
    if (archive_read_open(reader, m_source.get(), nullptr, Source::OnRead, nullptr) != ARCHIVE_OK) {
        m_source->Fail();
    }
}

TarReader::~TarReader() = default;

bool TarReader::Next(TarMember& member)
{
    m_source->isSkipping = true;
    if (m_memberCount > 0 && archive_read_data_skip(m_source->reader) < ARCHIVE_WARN) {
        m_source->Fail();
    }
    m_source->isSkipping = false;
    m_source->overhead = 0;
    const int result = archive_read_next_header(m_source->reader, &m_source->entry);
    if (result == ARCHIVE_EOF) {
        m_source->Finish();
        return false;
    }
    if (result != ARCHIVE_OK && result != ARCHIVE_WARN) {
        m_source->Fail();
    }
    if (++m_memberCount > m_memberLimit) {
        throw ArchiveError("it has more than " + std::to_string(m_memberLimit) + " members");
    }

    archive_entry* entry = m_source->entry;
    const char* name = archive_entry_pathname(entry);
    const char* target = archive_entry_hardlink(entry);
    member = TarMember();
    member.name = name != nullptr ? name : "";
    if (target != nullptr) {
        member.kind = MemberKind::HardLink;
        member.linkTarget = target;
    } else if (archive_entry_filetype(entry) == AE_IFREG) {
        member.kind = MemberKind::File;
    }
    return true;
}

bool TarReader::Read(std::uint64_t limit, const ByteSink& sink)
{
    std::uint64_t total = 0;
    std::array<char, kOutputChunk> buffer;
    while (total <= limit) {
        const la_ssize_t got = archive_read_data(m_source->reader, buffer.data(), buffer.size());
        if (got < 0) {
            m_source->Fail();
        }
        if (got == 0) {
            return true;
        }
        m_source->overhead = 0;
        try {
            // A sparse file's holes cost the file beneath nothing.
            m_source->budget.Spend(static_cast<std::uint64_t>(got));
        } catch (const Fault& fault) {
            throw ArchiveError(fault.what());
        }
        sink({buffer.data(), static_cast<std::size_t>(got)});
        total += static_cast<std::uint64_t>(got);
    }
    return false;
}

} // namespace DfsOpen
