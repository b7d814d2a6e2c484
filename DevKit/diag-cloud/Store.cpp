#include "Store.h"

#include "WallClock.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iomanip>
#include <random>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace DiagCloud
{

namespace
{

const std::string kMetadataSuffix = "-metadata.json";
const std::string kArchiveSuffix = ".tar.gz";

// Reports errno.
[[noreturn]] void Throw(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// Sorts by time, and does not repeat when the server is started anew on the same folder.
std::string NewId()
{
    std::ostringstream id;
    id << WallClock::Text("%Y%m%dT%H%M%SZ-", WallClock::Seconds()) << std::hex << std::setfill('0') << std::setw(8)
       << std::random_device()();
    return id.str();
}

// Ids become file names, and come back in the paths of requests.
bool IsId(const std::string& text)
{
    constexpr char kAllowed[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-";
    return !text.empty() && text.size() <= 64 && text.find_first_not_of(kAllowed) == std::string::npos;
}

} // namespace

IncomingFile::IncomingFile(const std::string& folder, const std::string& name)
    : m_path(folder + "/" + name), m_temporaryPath(folder + "/.incoming-XXXXXX")
{
    m_file = FileDescriptor(mkostemp(m_temporaryPath.data(), O_CLOEXEC));
    if (!m_file) {
        Throw("cannot make a file in " + folder);
    }
}

IncomingFile::~IncomingFile()
{
    if (!m_temporaryPath.empty()) {
        unlink(m_temporaryPath.c_str());
    }
}

void IncomingFile::Write(std::string_view bytes)
{
    if (!m_file.WriteAll(bytes)) {
        Throw("cannot write " + m_path);
    }
}

std::string IncomingFile::Complete()
{
    if (!m_file.Reset() || std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0) {
        Throw("cannot write " + m_path);
    }
    m_temporaryPath.clear();
    return m_path;
}

Store::Store(std::string folder) : m_folder(std::move(folder))
{
    std::filesystem::create_directories(m_folder);
}

std::string Store::AddMetadata(const std::string& text)
{
    std::string id = NewId();
    IncomingFile file(m_folder, id + kMetadataSuffix);
    file.Write(text);
    file.Complete();
    return id;
}

std::optional<std::string> Store::FindMetadata(const std::string& id) const
{
    if (!IsId(id)) {
        return std::nullopt;
    }
    const FileDescriptor file(open((m_folder + "/" + id + kMetadataSuffix).c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    return file && file.ReadAll(text) ? std::optional(text) : std::nullopt;
}

std::unique_ptr<IncomingFile> Store::AddArchive(const std::string& id)
{
    return std::make_unique<IncomingFile>(m_folder, id + kArchiveSuffix);
}

} // namespace DiagCloud
