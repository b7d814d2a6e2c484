#include "HSMFileFetcherCallback.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

#include "Crc32.h"
#include "HttpLog.h"

namespace Http
{
namespace
{
const DPrint s_log("HSMFileFetcherCallback");

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/** Opened close-on-exec, which a standard file stream cannot do. */
File OpenFile(const std::string& path, const char* mode)
{
    return File(std::fopen(path.c_str(), mode));
}

std::optional<std::string> ReadFile(const std::string& path)
{
    const File file = OpenFile(path, "rbe");
    if (!file) {
        return std::nullopt;
    }
    std::string content;
    char chunk[4096];
    while (const std::size_t size = std::fread(chunk, 1, sizeof chunk, file.get())) {
        content.append(chunk, size);
    }
    return std::ferror(file.get()) == 0 ? std::make_optional(std::move(content)) : std::nullopt;
}

bool WriteFile(const std::string& path, const std::string& content)
{
    File file = OpenFile(path, "wbe");
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
    const auto present = ReadFile(m_path);
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
