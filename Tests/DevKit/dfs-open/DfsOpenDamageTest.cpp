#include "ArchiveMaker.h"
#include "Texts.h"

#include <gmock/gmock.h>

namespace
{
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using Names = std::set<std::string>;

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

/** Extracts an archive that has a fault: that is told, and the item "good" is there. @return what is in the folder */
Names Extracted(const ArchiveMaker& maker, const std::string& archive, const testing::Matcher<std::string>& told)
{
    const TemporaryFolder around;
    const std::string folder = around.Path() + "/in";
    const Finished result = maker.Open(archive, {"--extract", folder});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, AllOf(told, Not(HasSubstr("\x1b"))));
    EXPECT_EQ(ReadWholeFile(folder + "/good"), kLog);
    EXPECT_EQ(NamesIn(around.Path()).size(), 1U);
    return NamesIn(folder);
}
} // namespace

TEST(DfsOpenDamage, DamagedItem_IsNamedAndTheOthersAreExtracted)
{
    const ArchiveMaker maker;
    // Does not compress: its halves are halves of what is packed.
    const std::string plain = maker.Filter("head -c 100000 /dev/urandom", "");
    const std::string packed = maker.Gzip(plain);
    const std::string message = maker.Encrypt(packed);
    const std::string sealed = maker.Gzip(message);
    const std::string data = maker.Filter("openssl cms -data_create -binary -outform DER", plain);
    std::string tooLong = message;
    tooLong.replace(message.find("\x31\x82") + 1, 3, "\x82\xff\xff");
    const ArchiveMaker other;
    const std::string crowd = other.Encrypt(packed, "-aes-256-cbc", Repeated("certificate.pem ", 17));
    const struct
    {
        const char* what;
        std::string content;
        std::string expected;
        bool remains = false; ///< Part of the content is kept.
    } cases[] = {
        {"nothing", "", "not a gzip file"},
        {"gzip cut", Half(sealed), "its compression is cut short"},
        {"gzip wrong inside", Flip(sealed, sealed.size() / 2), "its compression is damaged"},
        {"gzip and more", sealed + "more", "its compression is damaged"},
        {"no message", maker.Gzip(""), "empty: its encryption wrote nothing"},
        {"not encrypted", maker.Gzip(plain), "not an encrypted CMS message"},
        {"other CMS type", maker.Gzip(data), "not an encrypted CMS message"},
        {"message cut", maker.Gzip(Half(message)), "message is damaged or cut short"},
        {"message and more", maker.Gzip(message + "more"), "message is damaged or cut short"},
        {"part too long", maker.Gzip(tooLong), "message is damaged or cut short"},
        {"ciphertext wrong", maker.Gzip(Flip(message, message.size() / 2)), "decrypted to damaged content", true},
        {"other recipient", other.Seal(plain), "does not open with this key"},
        {"17 recipients", maker.Gzip(crowd), "more recipients than are accepted"},
        {"other cipher", maker.Gzip(maker.Encrypt(packed, "-des3")), "another cipher than AES-CBC"},
        {"not compressed", maker.Gzip(maker.Encrypt(plain)), "decrypted to something that is not gzip"},
        {"output cut", maker.Gzip(maker.Encrypt(Half(packed))), "decrypted to content that is cut short", true},
        {"output wrong", maker.Gzip(maker.Encrypt(Flip(packed, packed.size() - 1))), "decrypted to damaged content",
         true},
    };
    const Member manifest = maker.Manifest({{"bad", "b"}, {"good", "g"}});
    const Member good = {"good.gz", maker.Seal(kLog)};
    for (const auto& [what, content, expected, remains] : cases) {
        SCOPED_TRACE(what);
        const std::string archive = maker.Write({manifest, {"bad.gz", content}, good});
        EXPECT_EQ(Extracted(maker, archive, AllOf(HasSubstr(expected), HasSubstr("2 items, 1 missing"))),
                  remains ? Names({"bad.damaged", "good"}) : Names({"good"}));
        EXPECT_EQ(maker.Open(archive, {"--cat", "b"}).status, 1);
        EXPECT_EQ(maker.Open(archive, {"--cat", "g"}).status, 0);
    }
}

TEST(DfsOpenDamage, FaultyOrHostileArchive_IsToldAndItsItemIsExtracted)
{
    const ArchiveMaker maker;
    const Member item = {"good.gz", maker.Seal(kLog)};
    const std::string name = "dfs_uploadmanifest.json";
    const auto bytesOf = [&maker](const std::vector<Member>& members) { return ReadWholeFile(maker.Write(members)); };
    const std::string whole = bytesOf({maker.Manifest({{"good", "g"}}), item});
    const std::string damaged = "the archive cannot be read to its end: ";
    const std::string sealed = maker.Seal("evil");
    // With a further member, and a further name in the manifest.
    const auto with = [&](const Member& member, const std::string& listed = "") {
        std::vector<std::pair<std::string, std::string>> items = {{"good", "g"}, {listed, "l"}};
        items.resize(listed.empty() ? 1 : 2);
        return bytesOf({maker.Manifest(items), item, member});
    };
    const std::pair<std::string, std::string> cases[] = {
        {bytesOf({maker.Manifest({{"good", "g"}, {"absent", "a"}}), item}), "missing: not in the archive"},
        {bytesOf({maker.Manifest({{"good", "g"}, {"", "a"}}), item}), "missing: the manifest names no file for it"},
        {bytesOf({item}), "the archive has no manifest"},
        {bytesOf({item, {name, std::string("{\"item\":[]}\0", 12)}}), "the manifest cannot be read"},
        {bytesOf({item, {name, R"({"item":{}})"}}), "the manifest has no list of items"},
        {bytesOf({item, {name, R"({"item":[1]})"}}), "an item that is not an object"},
        {bytesOf({item, {name, R"({"UploadManifest":[]})"}}), "the manifest has no list of items"},
        {Flip(whole, whole.size() - 8), damaged + "its compressed data is damaged"},
        {whole.substr(0, whole.size() - 1), damaged + "it is cut short"},
        {whole + "more", damaged + "its compressed data is damaged"},
        {with({"../escaped.gz", sealed}), "member \"../escaped.gz\" is refused"},
        {with({"...gz", sealed}), "is refused: it is no item"},
        {with({"x\x1b[31m\n.gz", sealed}), "member \"x\\x1b[31m\\x0a.gz\" is refused"},
        {with({std::string(300, 'n') + ".gz", sealed}), "is refused: its name is not that of a plain file"},
        {with({"escaped.gz", "", AE_IFLNK, "/etc/passwd"}, "escaped"),
         "is refused: it is a link, a folder or a device"},
        {with({"escaped.gz", "", AE_IFREG, "good.gz"}, "escaped"), "is refused: it is a link"},
        {with({"good.gz", "", AE_IFREG, "other.gz"}), "is refused: it is a link"},
        {with({"good.gz", sealed}), "refused: another member has the same name"},
        {with({"dfs_uploadmanifest.json", "{}"}), "is refused: it is no item"},
        {with({"other.gz", sealed}, "../escaped"), "refused: its name is not that of a plain file"},
        {with({"other.gz", sealed}, "\\u001b]0;escaped\\u0007"), "\\x1b]0;escaped\\x07"},
        {with({"unlisted.gz", sealed}), "whole, not in the manifest"},
        {with({"dfs_left_out.txt", "\x1b" + std::string(254, 'n') + ", 7 bytes, no room"}),
         "device has left out: \\x1b" + std::string(254, 'n') + ", 7 bytes, no room\n"},
        {with({"dfs_left_out.txt", std::string(2000000, '\x1b')}), "dfs_left_out.txt is longer than is accepted\n"},
    };
    const TemporaryFolder folder;
    for (const auto& [content, expected] : cases) {
        SCOPED_TRACE(expected);
        EXPECT_THAT(Extracted(maker, folder.Write("archive", content), HasSubstr(expected)), Not(Contains("escaped")));
    }
}
