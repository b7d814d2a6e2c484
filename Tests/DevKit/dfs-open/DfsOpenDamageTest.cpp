#include "ArchiveMaker.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <random>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{

const std::string kLog = "a line of the log\n";

std::string Flip(std::string data, std::size_t at)
{
    data[at] = static_cast<char>(data[at] ^ 0x10);
    return data;
}

std::string Half(const std::string& data)
{
    return data.substr(0, data.size() / 2);
}

} // namespace

TEST(DfsOpenDamage, DamagedItem_IsNamedAndTheOthersAreExtracted)
{
    const ArchiveMaker maker;
    const ArchiveMaker stranger;
    std::mt19937 random(1);
    std::string plain; // does not compress, so that its halves are halves of what is packed
    for (int count = 0; count < 100000; ++count) {
        plain += static_cast<char>(random());
    }
    const std::string packed = maker.Gzip(plain);
    const std::string message = maker.Encrypt(packed);
    const std::string sealed = maker.Gzip(message);
    const std::string crc = "decrypted to damaged content";
    struct Case
    {
        std::string what;
        std::string content;
        std::string expected;
        bool remains = false; //!< Part of the content is kept.
    };
    const std::vector<Case> cases = {
        {"nothing", "", "not a gzip file"},
        {"plain text", plain, "not a gzip file"},
        {"gzip cut", Half(sealed), "its compression is cut short"},
        {"gzip magic only", sealed.substr(0, 1), "its compression is cut short"},
        {"gzip wrong inside", Flip(sealed, sealed.size() / 2), "its compression is damaged"},
        {"gzip checksum wrong", Flip(sealed, sealed.size() - 8), "its compression is damaged"},
        {"gzip and more", sealed + "more", "its compression is damaged"},
        {"no message", maker.Gzip(""), "empty: its encryption wrote nothing"},
        {"not encrypted", maker.Gzip(plain), "not an encrypted CMS message"},
        {"other CMS type", maker.Gzip(maker.Filter("openssl cms -data_create -binary -outform DER", plain)),
         "not an encrypted CMS message"},
        {"message cut", maker.Gzip(Half(message)), "message is damaged or cut short"},
        {"message and more", maker.Gzip(message + "more"), "message is damaged or cut short"},
        {"ciphertext wrong", maker.Gzip(Flip(message, message.size() / 2)), crc, true},
        {"other recipient", stranger.Seal(plain), "does not open with this key"},
        {"not compressed", maker.Gzip(maker.Encrypt(plain)), "decrypted to something that is not gzip"},
        {"command's output cut", maker.Gzip(maker.Encrypt(Half(packed))), "decrypted to content that is cut short",
         true},
        {"command's output wrong", maker.Gzip(maker.Encrypt(Flip(packed, packed.size() - 1))), crc, true},
    };
    for (const Case& tested : cases) {
        SCOPED_TRACE(tested.what);
        TemporaryFolder folder;
        const std::string archive =
            maker.Write({{"dfs_uploadmanifest.json", maker.Manifest({{"bad", "b"}, {"good", "g"}})},
                         {"bad.gz", tested.content},
                         {"good.gz", maker.Seal(kLog)}});
        const OpenResult result = DfsOpenRun({archive, "--key", maker.KeyPath(), "--extract", folder.Path()});
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.out, HasSubstr(tested.expected));
        EXPECT_THAT(result.out, HasSubstr("2 items, 1 missing"));
        EXPECT_EQ(kLog, ReadWholeFile(folder.Path() + "/good"));
        EXPECT_FALSE(fs::exists(folder.Path() + "/bad"));
        EXPECT_EQ(tested.remains, fs::exists(folder.Path() + "/bad.damaged"));
        EXPECT_EQ(1, DfsOpenRun({archive, "--key", maker.KeyPath(), "--cat", "b"}).status);
        EXPECT_EQ(0, DfsOpenRun({archive, "--key", maker.KeyPath(), "--cat", "g"}).status);
    }
}

TEST(DfsOpenDamage, ManifestAndMembers_MustAgree)
{
    const ArchiveMaker maker;
    const std::string sealed = maker.Seal(kLog);
    struct Case
    {
        std::vector<Member> members;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {{{"dfs_uploadmanifest.json", maker.Manifest({{"absent", "a"}})}}, "missing from the archive"},
        {{{"dfs_uploadmanifest.json", maker.Manifest({{"", "a"}})}}, "the manifest names no file for it"},
        {{{"a.gz", sealed}}, "the archive has no manifest"},
        {{{"a.gz", sealed}, {"dfs_uploadmanifest.json", "{"}}, "the manifest is not a JSON object"},
    };
    for (const Case& tested : cases) {
        const OpenResult result = DfsOpenRun({maker.Write(tested.members), "--key", maker.KeyPath()});
        EXPECT_EQ(1, result.status) << tested.expected;
        EXPECT_THAT(result.out, HasSubstr(tested.expected));
    }
}

TEST(DfsOpenDamage, ArchiveWithADamagedEnd_IsFaultyThoughItsItemsAreWhole)
{
    const ArchiveMaker maker;
    const std::string archive =
        maker.Write({{"dfs_uploadmanifest.json", maker.Manifest({{"log", "l"}})}, {"log.gz", maker.Seal(kLog)}});
    const std::string bytes = ReadWholeFile(archive);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {Flip(bytes, bytes.size() - 8), "its compressed data is damaged"},
        {bytes.substr(0, bytes.size() - 1), "it is cut short"},
        {bytes + "more", "its compressed data is damaged"},
    };
    for (const auto& [content, expected] : cases) {
        TemporaryFolder folder;
        const std::string path = folder.Write("changed.tar.gz", content);
        const OpenResult result = DfsOpenRun({path, "--key", maker.KeyPath(), "--extract", folder.Path() + "/out"});
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.out, HasSubstr("the archive cannot be read to its end: " + expected));
        EXPECT_EQ(kLog, ReadWholeFile(folder.Path() + "/out/log"));
    }
}

TEST(DfsOpenDamage, ChangedArchive_NeverYieldsChangedContent)
{
    const ArchiveMaker maker;
    const std::string archive =
        maker.Write({{"dfs_uploadmanifest.json", maker.Manifest({{"log", "l"}})}, {"log.gz", maker.Seal(kLog)}});
    const std::string bytes = ReadWholeFile(archive);
    std::mt19937 random(7);
    std::vector<std::string> changed;
    for (std::size_t step = 1; step < 60; ++step) {
        changed.push_back(bytes.substr(0, bytes.size() * step / 60));
        changed.push_back(Flip(bytes, random() % bytes.size()));
    }
    // Behind the archive's own checksum too: here every layer beneath sees the damage.
    const std::string tar = maker.Filter("gzip -dc", bytes);
    for (int count = 0; count < 60; ++count) {
        changed.push_back(maker.Gzip(Flip(tar, random() % tar.size())));
    }
    for (const std::string& content : changed) {
        TemporaryFolder folder;
        const std::string path = folder.Write("changed.tar.gz", content);
        const std::string out = folder.Path() + "/out";
        const OpenResult result = DfsOpenRun({path, "--key", maker.KeyPath(), "--extract", out});
        EXPECT_TRUE(result.status == 0 || result.status == 1) << result.err;
        if (result.status == 0 || fs::exists(out + "/log")) {
            EXPECT_EQ(kLog, ReadWholeFile(out + "/log"));
        }
    }
}
