#include "FileHelpers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>

#include "CapturedLog.h"
#include "TemporaryFolder.h"

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

namespace
{
bool s_isCloseFailing = false;
int s_interruptions = 0;

/** What the operation has logged, its first line excepted. */
Strings Complaints(const std::string& operation)
{
    Strings lines = CapturedLog::LinesOf("JwtUtils::QuillaneTokens", operation + ": ");
    return lines.empty() ? Strings{"nothing at all"} : Strings(lines.begin() + 1, lines.end());
}
} // namespace

// Errors that no file on this machine makes.
extern "C" int close(int descriptor)
{
    const auto result = static_cast<int>(syscall(SYS_close, descriptor));
    errno = s_isCloseFailing ? EIO : errno;
    return s_isCloseFailing ? -1 : result;
}

extern "C" ssize_t write(int descriptor, const void* data, std::size_t size)
{
    errno = EINTR;
    const bool isInterrupted = descriptor != STDERR_FILENO && s_interruptions-- > 0;
    return isInterrupted ? -1 : syscall(SYS_write, descriptor, data, size);
}

TEST(ReadFileStr, ReadsWhatThereIs_AndWaitsForNothing)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string large = folder.Write("large", "");
    fs::resize_file(large, JwtUtils::kMaxFileSize + 1);
    const struct
    {
        std::string path, content;
        Strings complaints;
    } cases[] = {
        {folder.Write("bytes", {"a\0\n\xff", 4}), {"a\0\n\xff", 4}, {}},
        {folder.Path() + "/missing", "", {}},
        {folder.Path(), "", {"2 Failed to read file '" + folder.Path() + "': Is a directory"}},
        {pipe, "", {}},
        {large, "", {"2 Failed to read file '" + large + "': File too large"}},
    };
    for (const auto& each : cases) {
        const CapturedLog log;
        EXPECT_EQ(JwtUtils::ReadFileStr(each.path), each.content) << each.path;
        EXPECT_EQ(Complaints("ReadFileStr"), each.complaints);
    }
}

TEST(WriteFileStr, ReplacesTheFile_OrLeavesItAsItWas)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("file", "old");
    const std::string temporary = path + ".tmp";
    const std::string data = std::string(100000, '\0') + "new";
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const rlimit small{50000, RLIM_INFINITY};
    signal(SIGXFSZ, SIG_IGN);
    const auto link = [&](const char* device) { fs::create_symlink(device, temporary); };
    const std::string notOpened = "2 Failed to open file '" + temporary + "': ";
    const std::string notWritten = "2 Failed to write all data to '" + temporary + "': ";
    const std::pair<std::function<void()>, Strings> cases[] = {
        {[&] { link("/dev/full"); }, {notWritten + "No space left on device"}},
        {[&] { setrlimit(RLIMIT_FSIZE, &small); }, {notWritten + "No space left on device"}},
        {[&] { link("/dev/null"); }, {notWritten + "Invalid argument"}}, // by fsync
        {[] { s_isCloseFailing = true; }, {notWritten + "Input/output error"}},
        {[&] { link("/no/folder"); }, {notOpened + "No such file or directory"}},
        {[&] { mkfifo(temporary.c_str(), 0600); }, {notOpened + "No such device or address"}},
        {[&] { fs::remove(path), fs::create_directories(path + "/in it"); },
         {"2 Failed to rename '" + temporary + "' to '" + path + "': Is a directory"}},
    };
    for (const auto& [provoke, complaints] : cases) {
        const CapturedLog log;
        provoke();
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, data));
        s_isCloseFailing = false;
        setrlimit(RLIMIT_FSIZE, &unlimited);
        EXPECT_EQ(Complaints("WriteFileStr"), complaints);
        EXPECT_TRUE(fs::is_directory(path) || ReadWholeFile(path) == "old");
        const bool isOwnRemoved = !fs::exists(fs::symlink_status(temporary));
        EXPECT_TRUE(isOwnRemoved || complaints[0].find(notOpened) == 0);
        fs::remove(temporary);
    }

    fs::remove_all(path);
    folder.Write("file.tmp", data + "left over");
    s_interruptions = 2;
    EXPECT_TRUE(JwtUtils::WriteFileStr(path, data));
    EXPECT_FALSE(JwtUtils::WriteFileStr(path, ""));
    EXPECT_EQ(ReadWholeFile(path), data);
    fs::remove(path);
    EXPECT_TRUE(JwtUtils::WriteFileStr(path, data));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
    EXPECT_FALSE(fs::exists(temporary));
}
