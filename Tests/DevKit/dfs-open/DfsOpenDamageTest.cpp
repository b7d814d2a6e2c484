#include "ArchiveMaker.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <random>

namespace
{
namespace fs = std::filesystem;
using testing::HasSubstr;

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

/** An archive of one item, byte by byte. */
std::string OneItem(const ArchiveMaker& maker)
{
    return ReadWholeFile(maker.Write({maker.Manifest({{"log", "l"}}), {"log.gz", maker.Seal(kLog)}}));
}
} // namespace

TEST(DfsOpenDamage, DamagedItem_IsNamedAndTheOthersAreExtracted)
{
    const ArchiveMaker maker;
    std::mt19937 random(1);
    std::string plain(100000, '\0'); // does not compress, so that its halves are halves of what is packed
    std::generate(plain.begin(), plain.end(), [&] { return static_cast<char>(random()); });
    const std::string packed = maker.Gzip(plain);
    const std::string message = maker.Encrypt(packed);
    const std::string sealed = maker.Gzip(message);
    const std::string noMessage = maker.Filter("openssl cms -data_create -binary -outform DER", plain);
    const std::string crc = "decrypted to damaged content";
    std::string tooLong = message;
    tooLong.replace(message.find("\x31\x82") + 1, 3, "\x82\xff\xff");
    const ArchiveMaker other;
    std::string crowd;
    for (int recipient = 0; recipient < 17; ++recipient) {
        crowd += "certificate.pem ";
    }
    const struct
    {
        const char* what;
        std::string content;
        std::string expected;
        bool remains = false; //!< Part of the content is kept.
    } cases[] = {
        {"nothing", "", "not a gzip file"},
        {"gzip cut", Half(sealed), "its compression is cut short"},
        {"gzip magic only", sealed.substr(0, 1), "its compression is cut short"},
        {"gzip wrong inside", Flip(sealed, sealed.size() / 2), "its compression is damaged"},
        {"gzip and more", sealed + "more", "its compression is damaged"},
        {"no message", maker.Gzip(""), "empty: its encryption wrote nothing"},
        {"not encrypted", maker.Gzip(plain), "not an encrypted CMS message"},
        {"other CMS type", maker.Gzip(noMessage), "not an encrypted CMS message"},
        {"message cut", maker.Gzip(Half(message)), "message is damaged or cut short"},
        {"message and more", maker.Gzip(message + "more"), "message is damaged or cut short"},
        {"part too long", maker.Gzip(tooLong), "message is damaged or cut short"},
        {"ciphertext wrong", maker.Gzip(Flip(message, message.size() / 2)), crc, true},
        {"other recipient", other.Seal(plain), "does not open with this key"},
        {"17 recipients", maker.Gzip(other.Encrypt(packed, "-aes-256-cbc", crowd)),
         "more recipients than are accepted"},
        {"other cipher", maker.Gzip(maker.Encrypt(packed, "-des3")), "another cipher than AES-CBC"},
        {"not compressed", maker.Gzip(maker.Encrypt(plain)), "decrypted to something that is not gzip"},
        {"output cut", maker.Gzip(maker.Encrypt(Half(packed))), "decrypted to content that is cut short", true},
        {"output wrong", maker.Gzip(maker.Encrypt(Flip(packed, packed.size() - 1))), crc, true},
    };
    const Member manifest = maker.Manifest({{"bad", "b"}, {"good", "g"}});
    const Member good = {"good.gz", maker.Seal(kLog)};
    for (const auto& [what, content, expected, remains] : cases) {
        SCOPED_TRACE(what);
        const TemporaryFolder folder;
        const std::string archive = maker.Write({manifest, {"bad.gz", content}, good});
        const Finished result = maker.Open(archive, {"--extract", folder.Path()});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.output, AllOf(HasSubstr(expected), HasSubstr("2 items, 1 missing")));
        EXPECT_EQ(ReadWholeFile(folder.Path() + "/good"), kLog);
        EXPECT_FALSE(fs::exists(folder.Path() + "/bad"));
        EXPECT_EQ(fs::exists(folder.Path() + "/bad.damaged"), remains);
        EXPECT_EQ(maker.Open(archive, {"--cat", "b"}).status, 1);
        EXPECT_EQ(maker.Open(archive, {"--cat", "g"}).status, 0);
    }
}

TEST(DfsOpenDamage, FaultyArchive_IsToldAndItsItemIsExtracted)
{
    const ArchiveMaker maker;
    const std::string whole = OneItem(maker);
    const Member item = {"log.gz", maker.Seal(kLog)};
    const std::string name = "dfs_uploadmanifest.json";
    const auto bytesOf = [&maker](const std::vector<Member>& members) { return ReadWholeFile(maker.Write(members)); };
    const std::string damaged = "the archive cannot be read to its end: ";
    const std::pair<std::string, std::string> cases[] = {
        {bytesOf({maker.Manifest({{"log", "l"}, {"absent", "a"}}), item}), "missing: not in the archive"},
        {bytesOf({maker.Manifest({{"log", "l"}, {"", "a"}}), item}), "missing: the manifest names no file for it"},
        {bytesOf({item}), "the archive has no manifest"},
        {bytesOf({item, {name, ""}}), "the manifest cannot be read"},
        {bytesOf({item, {name, std::string("{\"item\":[]}\0", 12)}}), "the manifest cannot be read"},
        {bytesOf({item, {name, R"({"item":{}})"}}), "the manifest has no list of items"},
        {bytesOf({item, {name, R"({"item":[1]})"}}), "an item that is not an object"},
        {bytesOf({item, {name, R"({"UploadManifest":[]})"}}), "the manifest has no list of items"},
        {Flip(whole, whole.size() - 8), damaged + "its compressed data is damaged"},
        {whole.substr(0, whole.size() - 1), damaged + "it is cut short"},
        {whole + "more", damaged + "its compressed data is damaged"},
    };
    for (const auto& [content, expected] : cases) {
        const TemporaryFolder folder;
        const Finished result = maker.Open(folder.Write("archive", content), {"--extract", folder.Path() + "/out"});
        EXPECT_EQ(result.status, 1) << expected;
        EXPECT_THAT(result.output, HasSubstr(expected));
        EXPECT_EQ(ReadWholeFile(folder.Path() + "/out/log"), kLog) << expected;
    }
}

TEST(DfsOpenDamage, ChangedArchive_NeverYieldsChangedContent)
{
    const ArchiveMaker maker;
    const std::string bytes = OneItem(maker);
    const std::string tar = maker.Filter("gzip -dc", bytes);
    std::mt19937 random(7);
    std::vector<std::string> changed;
    for (std::size_t step = 1; step < 50; ++step) {
        changed.push_back(bytes.substr(0, bytes.size() * step / 50));
        changed.push_back(Flip(bytes, random() % bytes.size()));
        // Behind the archive's own checksum too: here every layer beneath sees the damage.
        changed.push_back(maker.Gzip(Flip(tar, random() % tar.size())));
    }
    for (const std::string& content : changed) {
        const TemporaryFolder folder;
        const std::string out = folder.Path() + "/out";
        const Finished result = maker.Open(folder.Write("changed", content), {"--extract", out});
        EXPECT_TRUE(result.status == 0 || result.status == 1) << result.output;
        if (result.status == 0 || fs::exists(out + "/log")) {
            EXPECT_EQ(ReadWholeFile(out + "/log"), kLog);
        }
    }
}
