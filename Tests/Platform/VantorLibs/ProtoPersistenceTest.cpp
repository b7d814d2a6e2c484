#include "ProtoPersistenceFactory.h"
#include "TemporaryFolder.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers
using Failure = ProtoPersistenceIF::ProtoPersistenceException;

static const std::string kFolder = "/mnt/nv/product-persistence";
static const std::string kPath = kFolder + "/file.json";

static std::shared_ptr<ProtoPersistenceIF> File(const std::string& name = "file.json",
                                                const std::string& folder = "product-persistence/")
{
    return ProtoPersistenceFactory::Create(name, folder);
}

TEST(ProtoPersistence, File_IsStoredLoadedAndRemoved)
{
    EXPECT_THAT(ErrorOf<Failure>([] { File()->Load(); }), HasSubstr("No such file or directory"));
    WriteWholeFile(kPath + ".tmp", "what a power cut left");
    File()->Store("first");
    File()->Store("{\"second\":1}");
    EXPECT_EQ(ReadWholeFile(kPath), "{\"second\":1}");
    EXPECT_EQ(File()->Load(), "{\"second\":1}");
    fs::resize_file(kPath, (16 << 20) + 1);
    EXPECT_THAT(ErrorOf<Failure>([] { File()->Load(); }), HasSubstr("File too large"));
    EXPECT_THAT(NamesIn(kFolder), ElementsAre("file.json"));
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
        EXPECT_EQ(fs::status(kFolder).permissions(), fs::perms(0700));
        EXPECT_EQ(fs::status(kFolder + "/inner").permissions(), fs::perms(0700));
        EXPECT_EQ(fs::status(kFolder + "/inner/file.json").permissions(), fs::perms(0600));
    }
}

TEST(ProtoPersistence, WriteThatFails_NamesTheReasonAndLeavesTheOldContentAlone)
{
    WriteWholeFile("/mnt/nv/plain", "");
    EXPECT_EQ(ErrorOf<Failure>([] { File("f", "plain/")->Store("x"); }),
              "cannot make the folder of /mnt/nv/plain/f: Not a directory");
    fs::create_directory_symlink("/usr", "/mnt/nv/read-only");
    EXPECT_EQ(ErrorOf<Failure>([] { File("f", "read-only/a/b")->Store("x"); }),
              "cannot make the folder of /mnt/nv/read-only/a/b/f: Read-only file system");
    fs::create_directories("/mnt/nv/folder/f/x");
    EXPECT_EQ(ErrorOf<Failure>([] { File("f", "folder")->Store("x"); }),
              "cannot write /mnt/nv/folder/f: Is a directory");
    EXPECT_THAT(NamesIn("/mnt/nv/folder"), ElementsAre("f"));
    EXPECT_THAT(ErrorOf<Failure>([] { File("f", "folder")->Remove(); }), HasSubstr("Is a directory"));

    File()->Store("old");
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_THAT(ErrorOf<Failure>([] { File()->Store(std::string(5000, 'x')); }), HasSubstr("File too large"));
    EXPECT_EQ(ReadWholeFile(kPath), "old");
    EXPECT_THAT(NamesIn(kFolder), ElementsAre("file.json"));
}

TEST(ProtoPersistence, NamesThatLeaveTheStorage_AreRefused)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "a/"},       {".", "a/"},      {"..", "a/"},  {"../x", "a/"}, {"a/b", ""},  {"/etc/x", ""},
        {"x", "/mnt/nv"}, {"x", "../etc/"}, {"x", "a/.."}, {"x", "a//b"},  {"x", "./a"}, {std::string("x\0y", 3), ""},
    };
    for (const auto& [name, folder] : cases) {
        EXPECT_THAT(ErrorOf<Failure>([&name = name, &folder = folder] { File(name, folder); }),
                    HasSubstr("Invalid argument"))
            << folder << " " << name;
    }
    EXPECT_NO_THROW(File("..x", ""));
}

TEST(ProtoPersistence, ReadersAndWriters_SeeWholeContents)
{
    const auto write = [](char filling) {
        for (int round = 0; round < 200; ++round) {
            File()->Store(std::string(20000, filling));
        }
    };
    File()->Store(std::string(20000, 'a'));
    const auto one = std::async(std::launch::async, write, 'a');
    const auto two = std::async(std::launch::async, write, 'b');
    while (one.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        const std::string content = File()->Load();
        EXPECT_EQ(std::count(content.begin(), content.end(), content[0]), 20000);
    }
    two.wait();
    EXPECT_THAT(NamesIn(kFolder), ElementsAre("file.json"));
}
