#include "CapturedLog.h"
#include "FileHelpers.h"
#include "TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(ReadFileStr, ReadsWhatThereIs_AndWaitsForNothing)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string bytes = folder.Write("bytes", {"a\0\n\xff", 4});
    const struct
    {
        std::string path;
        std::string content;
        std::vector<std::string> failures;
        std::size_t maxSize = Files::kMaxFileSize;
    } cases[] = {
        {bytes, {"a\0\n\xff", 4}, {}, 4},
        {bytes, {"a\0\n", 3}, {"2 read file '" + bytes + "': File too large"}, 2},
        {folder.Path() + "/missing", "", {}},
        {folder.Path(), "", {"2 read file '" + folder.Path() + "': Is a directory"}},
        {pipe, "", {}},
    };
    for (const auto& each : cases) {
        const CapturedLog log;
        EXPECT_EQ(JwtUtils::ReadFileStr(each.path, each.maxSize), each.content) << each.path;
        EXPECT_EQ(CapturedLog::LinesOf("JwtUtils::QuillaneTokens", "ReadFileStr: Failed to "), each.failures);
    }
}

TEST(WriteFileStr, ReplacesTheFile_OrLeavesItAsItWas)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/file", temporary = path + ".tmp";
    const std::string data = std::string(100000, '\0') + "new";
    const auto limitSize = [](rlim_t bytes) {
        const rlimit limit{bytes, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    std::signal(SIGXFSZ, SIG_IGN);
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { limitSize(50000); }, "2 write all data to '" + temporary + "': File too large"},
        {[&] { fs::create_directory(temporary); }, "2 open file '" + temporary + "': Is a directory"},
        {[&] {
             fs::remove(path);
             fs::create_directories(path + "/in it");
         },
         "2 rename '" + temporary + "' to '" + path + "': Is a directory"},
    };
    for (const auto& [provoke, failure] : cases) {
        EXPECT_TRUE(JwtUtils::WriteFileStr(path, "old"));
        provoke();
        const CapturedLog log;
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, data));
        EXPECT_EQ(CapturedLog::LinesOf("JwtUtils::QuillaneTokens", "WriteFileStr: Failed to "), std::vector{failure});
        EXPECT_TRUE(fs::is_directory(path) || ReadWholeFile(path) == "old");
        limitSize(RLIM_INFINITY);
        const bool isAnothers = fs::is_directory(temporary);
        EXPECT_EQ(fs::remove(temporary), isAnothers) << "only what is its own is removed";
    }
}

TEST(WriteFileStr, TakesNothingOverFromWhatHasTheTemporaryName)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/file", temporary = path + ".tmp";
    const std::string other = folder.Write("other", "untouched");
    umask(0777);
    for (const std::function<void()>& plant : std::vector<std::function<void()>>{
             [&] { fs::create_symlink(other, temporary); }, [&] { fs::create_hard_link(other, temporary); },
             [&] { mkfifo(temporary.c_str(), 0666); }}) {
        plant();
        EXPECT_TRUE(JwtUtils::WriteFileStr(path, "new"));
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, ""));
        EXPECT_EQ(fs::symlink_status(path).permissions(), fs::perms(0600));
        EXPECT_EQ(ReadWholeFile(path) + ReadWholeFile(other), "newuntouched");
    }
}
