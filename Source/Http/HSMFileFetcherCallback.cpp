#include "HSMFileFetcherCallback.h"

#include "Crc32.h"
#include "HttpLog.h"
#include "StdioFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("HSMFileFetcherCallback");

// The file as far as it could be equal to a body of that size; nothing when it cannot be read, or is larger.
std::optional<std::string> ReadFile(const std::string& path, std::size_t bodySize)
{
    std::string content;
    const Files::StdioFile file = Files::OpenForReading(path);
    if (!file) {
        return std::nullopt;
    }
    try {
        Files::ReadAll(file.get(), content, std::max(bodySize, Files::kMaxFileSize));
    } catch (const std::system_error&) {
        return std::nullopt;
    }
    return content;
}

bool WriteFile(const std::string& path, const std::string& content)
{
    Files::StdioFile file(std::fopen(path.c_str(), "wbe"));
    if (!file) {
        return false;
    }
    const bool isWritten = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    return std::fclose(file.release()) == 0 && isWritten;
}

bool SyncFile(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_APPEND | O_CLOEXEC);
    const bool isSynced = descriptor >= 0 && fsync(descriptor) == 0;
    if (!isSynced) {
        s_log.Log(1, "fsync Error %d for file %s\n", errno, path.c_str());
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
    return isSynced;
}
} // namespace

HSMFileFetcherCallback::HSMFileFetcherCallback(std::string path, AsyncCallback<HSMResponse> callback)
    : m_path(std::move(path)), m_forward(std::move(callback))
{}

void HSMFileFetcherCallback::OnFetchCompleted(HSMResponse response)
{
    if (response.success != 0) {
        try {
            response.success = StoreBody(response.response) ? 1 : 0;
        } catch (const std::exception& error) {
            LogLine(s_log, 1, __func__, m_path, " is not written: ", error.what());
            response.success = 0;
        }
    }
    m_forward.OnFetchCompleted(std::move(response));
}

bool HSMFileFetcherCallback::StoreBody(const std::string& body) const
{
    const auto present = ReadFile(m_path, body.size());
    if (present && Crc32::Calculate(*present) == Crc32::Calculate(body)) {
        return true;
    }
    const bool isWritten = WriteFile(m_path, body);
    if (!isWritten) {
        LogLine(s_log, 1, __func__, m_path, " cannot be written");
    }
    return SyncFile(m_path) && isWritten;
}
} // namespace Http
