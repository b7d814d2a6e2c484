#include "CapturedLog.h"
#include "FileHelpers.h"
#include "TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

constexpr char kLog[] = "JwtUtils::QuillaneTokens";

TEST(ReadFileStr, ReadsWhatThereIs_AndWaitsForNothing)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string bytes = folder.Write("bytes", {"a\0\n\xff", 4});
    const auto expect = [](const std::string& path, const std::string& content, const std::string& failure = "",
                           std::size_t maxSize = 4) {
        const CapturedLog log;
        EXPECT_EQ(JwtUtils::ReadFileStr(path, maxSize), content) << path;
        EXPECT_EQ(CapturedLog::TextOf(kLog), "\n3 ReadFileStr: Reading " + path + "\n" + failure);
    };
    expect(bytes, {"a\0\n\xff", 4});
    expect(bytes, {"a\0\n", 3}, "2 ReadFileStr: Failed to read file '" + bytes + "': File too large\n", 2);
    expect(folder.Path() + "/missing", "");
    expect(folder.Path(), "", "2 ReadFileStr: Failed to read file '" + folder.Path() + "': Is a directory\n");
    expect(pipe, "");
}

TEST(WriteFileStr, LeavesTheFileAsItWas_WhenItFails)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("file", "old"), temporary = path + ".tmp";
    const auto expectFailure = [&path](const std::string& failure) {
        const CapturedLog log;
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, std::string(100000, 'x')));
        EXPECT_EQ(CapturedLog::TextOf(kLog),
                  "\n3 WriteFileStr: Writing " + path + "\n2 WriteFileStr: Failed to " + failure + "\n");
    };
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{50000, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    expectFailure("write all data to '" + temporary + "': File too large");
    EXPECT_EQ(NamesIn(folder.Path()), std::set<std::string>{"file"});
    limit.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &limit);

    fs::create_directory(temporary);
    expectFailure("open file '" + temporary + "': Is a directory");
    EXPECT_TRUE(fs::remove(temporary)) << "only what is its own is removed";
    EXPECT_EQ(ReadWholeFile(path), "old");

    fs::remove(path);
    fs::create_directories(path + "/in it");
    expectFailure("rename '" + temporary + "' to '" + path + "': Is a directory");
    EXPECT_FALSE(fs::exists(temporary));
}

TEST(WriteFileStr, ReplacesTheFile_TakingNothingOverFromWhatHasTheTemporaryName)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/file", temporary = path + ".tmp";
    const std::string other = folder.Write("other", "untouched");
    const std::string data = std::string(100000, '\0') + "new";
    umask(0777);
    const std::function<void()> plants[] = {[&] { fs::create_symlink(other, temporary); },
                                            [&] { fs::create_hard_link(other, temporary); },
                                            [&] { mkfifo(temporary.c_str(), 0666); }};
    for (const auto& plant : plants) {
        plant();
        EXPECT_TRUE(JwtUtils::WriteFileStr(path, data));
        EXPECT_FALSE(JwtUtils::WriteFileStr(path, ""));
        EXPECT_EQ(fs::symlink_status(path).permissions(), fs::perms(0600));
        EXPECT_EQ(ReadWholeFile(path) + ReadWholeFile(other), data + "untouched");
    }
}
