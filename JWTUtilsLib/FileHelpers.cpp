#include "FileHelpers.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <memory>
#include <system_error>

#include "DPrint.h"

namespace JwtUtils
{
namespace
{
// The files are the token store's, and so are the lines.
const DPrint s_log("JwtUtils::QuillaneTokens");

std::string TextOf(int error)
{
    return std::generic_category().message(error);
}

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/** The file open for reading, close-on-exec and without waiting for the other end of a pipe; null when it cannot be. */
File OpenForReading(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    File file(descriptor >= 0 ? fdopen(descriptor, "rb") : nullptr);
    if (!file && descriptor >= 0) {
        close(descriptor);
    }
    return file;
}

/** @throws std::exception when the stream fails; what has been read is in the content by then */
void ReadAll(std::FILE* file, std::string& content)
{
    char chunk[4096];
    while (const std::size_t size = std::fread(chunk, 1, sizeof chunk, file)) {
        content.append(chunk, size);
        if (content.size() > kMaxFileSize) {
            content.clear();
            throw std::system_error(EFBIG, std::generic_category());
        }
    }
    if (std::ferror(file) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}

/** Writes all of the data and brings it to the storage medium. 0, or the error that it failed with. */
int WriteThrough(int descriptor, const std::string& data)
{
    ssize_t written = 0;
    do {
        written = write(descriptor, data.data(), data.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        return errno;
    }
    if (static_cast<std::size_t>(written) < data.size()) {
        // write(2) names no error when it has taken a part: there was no room for the rest.
        return ENOSPC;
    }
    return fsync(descriptor) == 0 ? 0 : errno;
}
} // namespace

std::string ReadFileStr(const std::string& path)
{
    s_log.Log(3, "%s: Reading %s", __func__, path.c_str());
    std::string content;
    const File file = OpenForReading(path);
    if (!file) {
        return content;
    }
    try {
        ReadAll(file.get(), content);
    } catch (const std::exception& error) {
        s_log.Log(2, "%s: Failed to read file '%s': %s", __func__, path.c_str(), error.what());
    }
    return content;
}

bool WriteFileStr(const std::string& path, const std::string& data)
{
    s_log.Log(3, "%s: Writing %s", __func__, path.c_str());
    if (data.empty()) {
        return false;
    }
    const std::string temporary = path + ".tmp";
    // Without waiting, should a pipe have the name.
    const int descriptor =
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        s_log.Log(2, "%s: Failed to open file '%s': %s", __func__, temporary.c_str(), TextOf(errno).c_str());
        return false;
    }
    int error = WriteThrough(descriptor, data);
    // close(2): a write may fail as late as here.
    if (close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        s_log.Log(2, "%s: Failed to write all data to '%s': %s", __func__, temporary.c_str(), TextOf(error).c_str());
        unlink(temporary.c_str());
        return false;
    }
    if (rename(temporary.c_str(), path.c_str()) != 0) {
        s_log.Log(2, "%s: Failed to rename '%s' to '%s': %s", __func__, temporary.c_str(), path.c_str(),
                  TextOf(errno).c_str());
        unlink(temporary.c_str());
        return false;
    }
    return true;
}
} // namespace JwtUtils
