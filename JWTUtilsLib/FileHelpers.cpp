#include "FileHelpers.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
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
    const StdioFile file = OpenForReading(path);
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
