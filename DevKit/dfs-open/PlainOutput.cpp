#include "PlainOutput.h"

#include "Fault.h"

#include <cerrno>
#include <fcntl.h>
#include <ostream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace DfsOpen
{

namespace
{

// Diagnostic files are a customer's.
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;

// Adds errno's text.
std::invalid_argument Failure(const std::string& what)
{
    return std::invalid_argument(what + ": " + std::generic_category().message(errno));
}

void Require(bool isStored)
{
    if (!isStored) {
        throw Fault(Outcome::Refused, Failure("not written").what());
    }
}

} // namespace

StreamOutput::StreamOutput(std::string subType, std::ostream& stream) : m_subType(std::move(subType)), m_stream(stream)
{}

void StreamOutput::Write(std::string_view bytes)
{
    if (!(m_stream << bytes)) {
        throw Fault(Outcome::Refused, "not written: the output is closed");
    }
}

void StreamOutput::End(bool /*isWhole*/)
{
    m_stream.flush();
    Write("");
}

FolderOutput::FolderOutput(const std::string& path)
{
    if (mkdir(path.c_str(), kFolderMode) != 0 && errno != EEXIST) {
        throw Failure("cannot make the folder " + path);
    }
    m_folder = FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder) {
        throw Failure("cannot open the folder " + path);
    }
}

void FolderOutput::Begin(const ManifestEntry& entry)
{
    m_name = entry.fileName;
    m_isEmpty = true;
    m_file = FileDescriptor(
        openat(m_folder.Get(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    Require(bool(m_file));
}

void FolderOutput::Write(std::string_view bytes)
{
    m_isEmpty = m_isEmpty && bytes.empty();
    Require(m_file.WriteAll(bytes));
}

void FolderOutput::End(bool isWhole)
{
    std::string problem = m_file.Reset() ? "" : Failure("not written").what();
    if (!isWhole || !problem.empty()) {
        // Unlike rename(2), this never replaces a file that is there already.
        const std::string remains = m_name + ".damaged";
        if (!m_isEmpty && linkat(m_folder.Get(), m_name.c_str(), m_folder.Get(), remains.c_str(), 0) != 0) {
            problem = Failure("its remains cannot be kept as " + remains).what();
        }
        unlinkat(m_folder.Get(), m_name.c_str(), 0);
    }
    if (!problem.empty()) {
        throw Fault(Outcome::Refused, problem);
    }
}

} // namespace DfsOpen
