#include "FileHelpers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>

#include "CapturedLog.h"
#include "TemporaryFolder.h"

namespace fs = std::filesystem;

TEST(ReadFileStr, ReadsWhatThereIs_AndWaitsForNothing)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string large = folder.Write("large", "");
    fs::resize_file(large, JwtUtils::kMaxFileSize + 1);
    const std::tuple<std::string, std::string, std::vector<std::string>> cases[] = {
        {folder.Write("bytes", {"a\0\n\xff", 4}), {"a\0\n\xff", 4}, {}},
        {folder.Path() + "/missing", "", {}},
        {folder.Path(), "", {"2 read file '" + folder.Path() + "': Is a directory"}},
        {pipe, "", {}},
        {large, "", {"2 read file '" + large + "': File too large"}},
    };
    for (const auto& [path, content, failures] : cases) {
        const CapturedLog log;
        EXPECT_EQ(JwtUtils::ReadFileStr(path), content) << path;
        EXPECT_EQ(CapturedLog::LinesOf("JwtUtils::QuillaneTokens", "ReadFileStr: Failed to "), failures);
    }
}

TEST(WriteFileStr, ReplacesTheFile_OrLeavesItAsItWas)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/file";
    const std::string temporary = path + ".tmp";
    const std::string data = std::string(100000, '\0') + "new";
    const auto makePipe = [&] { mkfifo(temporary.c_str(), 0600); };
    const auto link = [&](const char* device) { fs::create_symlink(device, temporary); };
    const std::string notOpened = "2 open file '" + temporary + "': ";
    const std::string notWritten = "2 write all data to '" + temporary + "': ";
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { link("/dev/full"); }, notWritten + "No space left on device"},
        {[&] { makePipe(), open(temporary.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); },
         notWritten + "No space left on device"},                      // what a pipe holds is written
        {[&] { link("/dev/null"); }, notWritten + "Invalid argument"}, // by fsync
        {makePipe, notOpened + "No such device or address"},
        {[&] { fs::remove(path), fs::create_directories(path + "/in it"); },
         "2 rename '" + temporary + "' to '" + path + "': Is a directory"},
    };
    EXPECT_TRUE(JwtUtils::WriteFileStr(path, "old"));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
    for (const auto& [provoke, failure] : cases) {
        const CapturedLog log;
        provoke();
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, data));
        EXPECT_EQ(CapturedLog::LinesOf("JwtUtils::QuillaneTokens", "WriteFileStr: Failed to "), std::vector{failure});
        EXPECT_TRUE(fs::is_directory(path) || ReadWholeFile(path) == "old");
        EXPECT_EQ(fs::remove(temporary), failure.find(notOpened) == 0) << "only what is its own is removed";
    }

    fs::remove_all(path);
    folder.Write("file.tmp", data + "left over");
    EXPECT_TRUE(JwtUtils::WriteFileStr(path, data));
    EXPECT_FALSE(JwtUtils::WriteFileStr(path, ""));
    EXPECT_EQ(ReadWholeFile(path), data);
}
