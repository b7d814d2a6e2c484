#include "PlainOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ostream>
#include <stdexcept>
#include <system_error>

namespace DfsOpen
{

namespace
{

constexpr mode_t kFolderMode = 0700; // diagnostic files are a customer's
constexpr mode_t kFileMode = 0600;

std::string ErrorText(int error)
{
    return std::generic_category().message(error);
}

} // namespace

StreamOutput::StreamOutput(std::string subType, std::ostream& stream) : m_subType(std::move(subType)), m_stream(stream)
{}

bool StreamOutput::Begin(const ManifestEntry& /*entry*/)
{
    return true;
}

bool StreamOutput::Write(const char* data, std::size_t size)
{
    m_stream.write(data, static_cast<std::streamsize>(size));
    return m_stream.good() || Fail("the output cannot be written");
}

bool StreamOutput::End(bool /*whole*/)
{
    m_stream.flush();
    return m_stream.good() || Fail("the output cannot be written");
}

FolderOutput::FolderOutput(const std::string& path)
{
    if (mkdir(path.c_str(), kFolderMode) != 0 && errno != EEXIST) {
        throw std::runtime_error("cannot make the folder " + path + ": " + ErrorText(errno));
    }
    m_folder = FileDescriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder) {
        throw std::runtime_error("cannot open the folder " + path + ": " + ErrorText(errno));
    }
}

bool FolderOutput::Begin(const ManifestEntry& entry)
{
    m_name = entry.fileName;
    m_written = 0;
    m_file = FileDescriptor(
        openat(m_folder.Get(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    return m_file || Fail(ErrorText(errno));
}

bool FolderOutput::Write(const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(m_file.Get(), data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            return Fail(ErrorText(errno));
        }
        data += written;
        size -= static_cast<std::size_t>(written);
        m_written += static_cast<std::uint64_t>(written);
    }
    return true;
}

bool FolderOutput::End(bool whole)
{
    const bool closed = m_file.Reset() || Fail(ErrorText(errno));
    if (whole && closed) {
        return true;
    }
    if (m_written > 0) {
        // A link is never made over a file that is there already, as a renamed file would be.
        const std::string damaged = m_name + ".damaged";
        if (linkat(m_folder.Get(), m_name.c_str(), m_folder.Get(), damaged.c_str(), 0) != 0) {
            Fail("its remains cannot be kept as " + damaged + ": " + ErrorText(errno));
        }
    }
    unlinkat(m_folder.Get(), m_name.c_str(), 0);
    return closed;
}

} // namespace DfsOpen
