#include "Store.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>
#include <system_error>

namespace DiagCloud
{

namespace
{

const std::string kMetadataSuffix = "-metadata.json";
const std::string kArchiveSuffix = ".tar.gz";

[[noreturn]] void Throw(int error, const std::string& what)
{
    throw std::system_error(error, std::generic_category(), what);
}

/** Sorts by time, and does not repeat when the server is started anew on the same folder. */
std::string NewId()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    std::array<char, 40> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ-", &utc);
    std::snprintf(text.data() + length, text.size() - length, "%08x", std::random_device()());
    return text.data();
}

/** Ids become file names, and come back in the paths of requests. */
bool IsId(const std::string& text)
{
    constexpr std::size_t kLongest = 64;
    return !text.empty() && text.size() <= kLongest && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
    });
}

} // namespace

IncomingFile::IncomingFile(const std::string& folder, const std::string& name)
    : m_path(folder + "/" + name), m_temporaryPath(folder + "/.incoming-XXXXXX")
{
    m_file = FileDescriptor(mkostemp(m_temporaryPath.data(), O_CLOEXEC));
    if (!m_file) {
        Throw(errno, "cannot make a file in " + folder);
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
    if (m_error == 0 && !m_file.WriteAll(bytes)) {
        m_error = errno;
    }
}

std::string IncomingFile::Complete()
{
    if (m_error == 0 && !m_file.Reset()) {
        m_error = errno;
    }
    if (m_error == 0 && std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0) {
        m_error = errno;
    }
    if (m_error != 0) {
        Throw(m_error, "cannot write " + m_path);
    }
    m_temporaryPath.clear();
    return m_path;
}

Store::Store(std::string folder) : m_folder(std::move(folder))
{
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (error) {
        throw std::system_error(error, "cannot make the folder " + m_folder);
    }
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
