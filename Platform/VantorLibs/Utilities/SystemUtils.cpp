#include "SystemUtils.h"

#include "FileDescriptor.h"
#include "StringUtils.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr char kLockFolder[] = "/run/vantor";

[[noreturn]] void ThrowErrno(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

// " as process " and the number; empty when the file holds something else.
std::string ProcessIn(const FileDescriptor& file)
{
    constexpr std::size_t kLongest = 16;
    std::string content;
    if (!file.ReadAll(content, kLongest)) {
        return {};
    }
    const std::string number = StringUtils::trim(content);
    const bool isNumber = !number.empty() && number.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? " as process " + number : std::string();
}

FileDescriptor TakeLock(const std::string& program)
{
    if (::mkdir(kLockFolder, 0755) != 0 && errno != EEXIST) {
        ThrowErrno(program + ": cannot make " + kLockFolder);
    }
    const std::string path = std::string(kLockFolder) + "/" + program + ".lock";
    const FileDescriptor opened(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    // Started without standard descriptors, the process would log into the file.
    FileDescriptor file(opened ? ::fcntl(opened.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1);
    if (!file) {
        ThrowErrno(program + ": cannot open " + path);
    }
    if (::flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            ThrowErrno(program + ": cannot lock " + path);
        }
        throw std::runtime_error(program + " is already running" + ProcessIn(file));
    }
    // The lock is what counts: a full file system, which loses the number for people, is no reason not to run.
    if (::fchmod(file.Get(), 0600) == 0 && ::ftruncate(file.Get(), 0) == 0) {
        file.WriteAll(std::to_string(::getpid()) + "\n");
    }
    return file;
}
} // namespace

void SystemUtils::ThereCanBeOnlyOne()
{
    static std::mutex mutex;
    static FileDescriptor lock;
    static pid_t owner = 0;

    const std::lock_guard guard(mutex);
    if (lock && owner == ::getpid()) {
        return;
    }
    // A forked child inherited its parent's descriptor but is another process: it lets go and asks for itself.
    lock.Reset();
    lock = TakeLock(GetEXE());
    owner = ::getpid();
}

std::string SystemUtils::GetEXE()
{
    std::error_code error;
    std::string name = std::filesystem::read_symlink("/proc/self/exe", error).filename().string();
    // So the kernel marks a program whose file was replaced by an update while it runs.
    const std::string mark = " (deleted)";
    if (name.size() > mark.size() && name.compare(name.size() - mark.size(), mark.size(), mark) == 0) {
        name.resize(name.size() - mark.size());
    }
    return name;
}

bool SystemUtils::Exists(const std::string& path)
{
    // What cannot be looked at, on a storage with errors for one, may be there: nobody shall make it anew.
    return ::access(path.c_str(), F_OK) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

std::string SystemUtils::ReadFile(const std::string& path)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status
    {};
    std::string content;
    if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || !file.ReadAll(content)) {
        return {};
    }
    return content;
}
