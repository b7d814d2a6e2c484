#pragma once

#include "Budget.h"
#include "Fault.h"
#include "FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace DfsOpen
{

/**
 * Opens a regular file for reading; never waits for another program.
 * @throws std::invalid_argument with one line for the user when that is not possible
 */
FileDescriptor OpenArchive(const std::string& path);

/** The archive cannot be read any further; the text is for the user. */
class ArchiveError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class MemberKind
{
    File,
    HardLink,
    Other, ///< Symbolic link, folder, device, pipe and so on.
};

struct TarMember
{
    std::string name; ///< As the archive has it.
    MemberKind kind = MemberKind::Other;
    std::string linkTarget; ///< Of a hard link.
};

/** Goes once through the members of a gzip-compressed tar file, from its beginning. Not thread-safe. */
class TarReader
{
public:
    /**
     * @param descriptor an open regular file; nobody else may use it as long as the reader lives
     * @param limits only the number of members counts
     * @param budget what is read is taken off it; must outlive this
     * @throws ArchiveError when the file does not begin as such an archive
     */
    TarReader(int descriptor, const Limits& limits, Budget& budget);
    ~TarReader();

    /**
     * Moves on to the next member; false after the last one, when the file has proved whole to its end.
     * @throws ArchiveError when the file is damaged, cut short or beyond the limits
     */
    bool Next(TarMember& member);

    /**
     * Gives the current member's content to the sink, up to the piece that passes the limit.
     * @return whether that was all
     * @throws ArchiveError as Next
     * @throws what the sink throws; the next member can be read all the same
     */
    bool Read(std::uint64_t limit, const ByteSink& sink);

private:
    struct Source;

    std::unique_ptr<Source> m_source;
    std::uint64_t m_memberCount = 0;
    std::uint64_t m_memberLimit;
};

} // namespace DfsOpen
