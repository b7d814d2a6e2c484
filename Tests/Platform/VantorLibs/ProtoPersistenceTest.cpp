#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <thread>

#include "ProtoPersistenceFactory.h"
#include "TemporaryFolder.h"

namespace
{
namespace fs = std::filesystem;
using testing::HasSubstr;
using Exception = ProtoPersistenceIF::ProtoPersistenceException;

constexpr char kPath[] = "/mnt/nv/product-persistence/file.json";

std::shared_ptr<ProtoPersistenceIF> File()
{
    return ProtoPersistenceFactory::Create("file.json", "product-persistence/");
}

template <class Action>
std::string ErrorOf(Action action)
{
    try {
        action();
    } catch (const Exception& error) {
        return error.what();
    }
    return "no exception";
}

unsigned ModeOf(const std::string& path)
{
    struct stat status
    {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

std::ptrdiff_t EntriesOf(const std::string& folder)
{
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}
} // namespace

TEST(ProtoPersistence, StoreLoadRemove)
{
    const auto file = File();
    EXPECT_THAT(ErrorOf([&] { file->Load(); }), HasSubstr("No such file or directory"));
    file->Store("first");
    file->Store("{\"second\":1}");
    EXPECT_EQ(ReadWholeFile(kPath), "{\"second\":1}");
    EXPECT_EQ(File()->Load(), "{\"second\":1}");
    file->Remove();
    EXPECT_FALSE(fs::exists(kPath));
    file->Remove();
}

TEST(ProtoPersistence, MissingFolders_AreMadeForTheOwnerWhateverTheUmask)
{
    for (const mode_t mask : {0000, 0777}) {
        fs::remove_all("/mnt/nv/product-persistence");
        umask(mask);
        ProtoPersistenceFactory::Create("file.json", "product-persistence/inner")->Store("x");
        umask(0022);
        EXPECT_EQ(ModeOf("/mnt/nv/product-persistence"), 0700U);
        EXPECT_EQ(ModeOf("/mnt/nv/product-persistence/inner"), 0700U);
        EXPECT_EQ(ModeOf("/mnt/nv/product-persistence/inner/file.json"), 0600U);
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
    EXPECT_EQ(EntriesOf("/mnt/nv/product-persistence"), 1);
}

TEST(ProtoPersistence, LeftOverOfAPowerCut_IsReplaced)
{
    WriteWholeFile(std::string(kPath) + ".tmp", "half");
    File()->Store("whole");
    EXPECT_EQ(ReadWholeFile(kPath), "whole");
    EXPECT_EQ(EntriesOf("/mnt/nv/product-persistence"), 1);
}

TEST(ProtoPersistence, PlaceThatCannotBeWritten_IsNamedWithTheReason)
{
    WriteWholeFile("/mnt/nv/plain", "");
    EXPECT_EQ(ErrorOf([] { ProtoPersistenceFactory::Create("f", "plain/")->Store("x"); }),
              "cannot make the folder of /mnt/nv/plain/f: Not a directory");
    fs::create_directories("/mnt/nv/folder/f/x");
    EXPECT_EQ(ErrorOf([] { ProtoPersistenceFactory::Create("f", "folder")->Store("x"); }),
              "cannot write /mnt/nv/folder/f: Is a directory");
    EXPECT_EQ(EntriesOf("/mnt/nv/folder"), 1);
    EXPECT_THAT(ErrorOf([] { ProtoPersistenceFactory::Create("f", "folder")->Remove(); }), HasSubstr("Is a directory"));
}

TEST(ProtoPersistence, NamesThatLeaveTheStorage_AreRefused)
{
    const std::pair<std::string, std::string> names[] = {
        {"", "a/"},       {".", "a/"},      {"..", "a/"},  {"../x", "a/"}, {"a/b", ""},  {"/etc/x", ""},
        {"x", "/mnt/nv"}, {"x", "../etc/"}, {"x", "a/.."}, {"x", "a//b"},  {"x", "./a"}, {std::string("x\0y", 3), ""},
    };
    for (const auto& [name, directory] : names) {
        EXPECT_THAT(ErrorOf([&n = name, &d = directory] { ProtoPersistenceFactory::Create(n, d); }),
                    HasSubstr("Invalid argument"))
            << directory << " " << name;
    }
    EXPECT_NO_THROW(ProtoPersistenceFactory::Create("..x", ""));
}

TEST(ProtoPersistence, ReadersAndWriters_SeeWholeContents)
{
    static constexpr std::size_t kLength = 20000;
    File()->Store(std::string(kLength, 'a'));
    std::atomic<bool> done{false};
    std::thread writers[2];
    for (int index = 0; index < 2; ++index) {
        writers[index] = std::thread([index] {
            for (int round = 0; round < 200; ++round) {
                File()->Store(std::string(kLength, static_cast<char>('a' + index)));
            }
        });
    }
    std::thread reader([&done] {
        while (!done) {
            const std::string content = File()->Load();
            ASSERT_EQ(content.size(), kLength);
            ASSERT_EQ(std::count(content.begin(), content.end(), content[0]), static_cast<std::ptrdiff_t>(kLength));
        }
    });
    writers[0].join();
    writers[1].join();
    done = true;
    reader.join();
    EXPECT_EQ(EntriesOf("/mnt/nv/product-persistence"), 1);
}
