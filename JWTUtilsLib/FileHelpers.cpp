#include "FileHelpers.h"

#include "DPrint.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

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

// A new file of that name, in place of any other; -1, with errno set, when there can be none.
int CreateTemporary(const std::string& path)
{
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        return -1;
    }
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

// Writes all of the data and brings it to the storage medium. 0, or the error that it failed with.
int WriteThrough(int descriptor, const std::string& data)
{
    // The umask may have narrowed the mode that open was given.
    if (fchmod(descriptor, S_IRUSR | S_IWUSR) != 0) {
        return errno;
    }
    const auto writeFrom = [&](std::size_t start) {
        ssize_t written = 0;
        do {
            written = write(descriptor, data.data() + start, data.size() - start);
        } while (written < 0 && errno == EINTR);
        return written;
    };
    const ssize_t written = writeFrom(0);
    if (written < 0) {
        return errno;
    }
    if (static_cast<std::size_t>(written) < data.size()) {
        // write(2) names no error when it has taken a part: the rest is offered only to learn it.
        return writeFrom(static_cast<std::size_t>(written)) < 0 ? errno : EINTR;
    }
    return fsync(descriptor) == 0 ? 0 : errno;
}
} // namespace

std::string ReadFileStr(const std::string& path, std::size_t maxSize)
{
    s_log.Log(3, "%s: Reading %s", __func__, path.c_str());
    std::string content;
    const Files::StdioFile file = Files::OpenForReading(path);
    if (!file) {
        return content;
    }
    try {
        Files::ReadAll(file.get(), content, maxSize);
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
    const int descriptor = CreateTemporary(temporary);
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
