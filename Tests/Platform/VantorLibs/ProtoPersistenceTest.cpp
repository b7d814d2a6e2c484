#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "ProtoPersistenceFactory.h"
#include "TemporaryFolder.h"

namespace
{
namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr char kFolder[] = "/mnt/nv/product-persistence";
constexpr char kPath[] = "/mnt/nv/product-persistence/file.json";

std::shared_ptr<ProtoPersistenceIF> File(const std::string& name = "file.json",
                                         const std::string& folder = "product-persistence/")
{
    return ProtoPersistenceFactory::Create(name, folder);
}

template <class Action>
std::string ErrorOf(Action action)
{
    try {
        action();
    } catch (const ProtoPersistenceIF::ProtoPersistenceException& error) {
        return error.what();
    }
    return "no exception";
}

unsigned ModeOf(const std::string& path)
{
    return static_cast<unsigned>(fs::status(path).permissions());
}

std::ptrdiff_t EntriesOf(const std::string& folder)
{
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}
} // namespace

TEST(ProtoPersistence, StoreLoadRemove)
{
    EXPECT_THAT(ErrorOf([] { File()->Load(); }), HasSubstr("No such file or directory"));
    WriteWholeFile(std::string(kPath) + ".tmp", "what a power cut left");
    File()->Store("first");
    File()->Store("{\"second\":1}");
    EXPECT_EQ(ReadWholeFile(kPath), "{\"second\":1}");
    EXPECT_EQ(File()->Load(), "{\"second\":1}");
    fs::resize_file(kPath, (16 << 20) + 1);
    EXPECT_THAT(ErrorOf([] { File()->Load(); }), HasSubstr("File too large"));
    EXPECT_EQ(EntriesOf(kFolder), 1);
    File()->Remove();
    EXPECT_FALSE(fs::exists(kPath));
    File()->Remove();
}

TEST(ProtoPersistence, MissingFolders_AreMadeForTheOwnerWhateverTheUmask)
{
    for (const mode_t mask : {0000, 0777}) {
        fs::remove_all(kFolder);
        umask(mask);
        File("file.json", "product-persistence/inner")->Store("x");
        umask(0022);
        EXPECT_EQ(ModeOf(kFolder), 0700U);
        EXPECT_EQ(ModeOf(std::string(kFolder) + "/inner"), 0700U);
        EXPECT_EQ(ModeOf(std::string(kFolder) + "/inner/file.json"), 0600U);
    }
}

TEST(ProtoPersistence, FailingWrite_LeavesTheOldContentAndNoOtherFile)
{
    File()->Store("old");
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_THAT(ErrorOf([] { File()->Store(std::string(5000, 'x')); }), HasSubstr("File too large"));
    EXPECT_EQ(ReadWholeFile(kPath), "old");
    EXPECT_EQ(EntriesOf(kFolder), 1);
}

TEST(ProtoPersistence, PlaceThatCannotBeWritten_IsNamedWithTheReason)
{
    WriteWholeFile("/mnt/nv/plain", "");
    EXPECT_EQ(ErrorOf([] { File("f", "plain/")->Store("x"); }),
              "cannot make the folder of /mnt/nv/plain/f: Not a directory");
    fs::create_directory_symlink("/usr", "/mnt/nv/read-only");
    EXPECT_EQ(ErrorOf([] { File("f", "read-only/a/b")->Store("x"); }),
              "cannot make the folder of /mnt/nv/read-only/a/b/f: Read-only file system");
    fs::create_directories("/mnt/nv/folder/f/x");
    EXPECT_EQ(ErrorOf([] { File("f", "folder")->Store("x"); }), "cannot write /mnt/nv/folder/f: Is a directory");
    EXPECT_EQ(EntriesOf("/mnt/nv/folder"), 1);
    EXPECT_THAT(ErrorOf([] { File("f", "folder")->Remove(); }), HasSubstr("Is a directory"));
}

TEST(ProtoPersistence, NamesThatLeaveTheStorage_AreRefused)
{
    const std::pair<std::string, std::string> names[] = {
        {"", "a/"},       {".", "a/"},      {"..", "a/"},  {"../x", "a/"}, {"a/b", ""},  {"/etc/x", ""},
        {"x", "/mnt/nv"}, {"x", "../etc/"}, {"x", "a/.."}, {"x", "a//b"},  {"x", "./a"}, {std::string("x\0y", 3), ""},
    };
    for (const auto& each : names) {
        EXPECT_THAT(ErrorOf([&each] { File(each.first, each.second); }), HasSubstr("Invalid argument"))
            << each.second << " " << each.first;
    }
    EXPECT_NO_THROW(File("..x", ""));
}

TEST(ProtoPersistence, ReadersAndWriters_SeeWholeContents)
{
    const auto store = [](char filling) { File()->Store(std::string(20000, filling)); };
    store('a');
    std::atomic<int> writing{2};
    const auto write = [&](char filling) {
        for (int round = 0; round < 200; ++round) {
            store(filling);
        }
        --writing;
    };
    std::thread one(write, 'a');
    std::thread two(write, 'b');
    while (writing > 0) {
        const std::string content = File()->Load();
        EXPECT_EQ(std::count(content.begin(), content.end(), content[0]), 20000);
    }
    one.join();
    two.join();
    EXPECT_EQ(EntriesOf(kFolder), 1);
}
