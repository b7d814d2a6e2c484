#include "ArchiveMaker.h"
#include "DfsOpen.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

namespace
{
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using Names = std::set<std::string>;

const std::string kLog = "a line of the log\n";
constexpr std::size_t kManyTimes = 2000000;

std::string Flip(std::string data, std::size_t at)
{
    data[at] = static_cast<char>(data[at] ^ 0x10);
    return data;
}

std::string Half(const std::string& data)
{
    return data.substr(0, data.size() / 2);
}

/** An element in DER. */
std::string Element(char identifier, const std::string& content)
{
    std::string made = {identifier, '\x84'};
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        made += static_cast<char>(content.size() >> shift & 0xffU);
    }
    return made + content;
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

TEST(DfsOpenDamage, Archive_StaysWithinMemoryAndSaysWhatIsWrong)
{
    const ArchiveMaker maker;
    const Member log = maker.Manifest({{"log", "l"}});
    // As openssl streams it: recipients, cipher, content, and the ends of what is around these.
    const std::string message = maker.Encrypt(maker.Gzip(kLog));
    const std::size_t recipients = message.find("\x31\x82");
    const std::size_t cipher = message.find(std::string("\x30\x80\x06\x09\x2a", 5), recipients) + 13;
    const std::size_t content = cipher + 31;
    const std::size_t end = message.size() - 6;
    const auto changed = [&](std::size_t from, std::size_t to, const std::string& part) {
        const std::string other = message.substr(0, from) + part + message.substr(to);
        return std::vector<Member>{log, {"log.gz", maker.Gzip(other)}};
    };
    const std::string recipient("\xa4\x05\x06\x01\x2a\x05\x00", 7); // RFC 5652, OtherRecipientInfo
    const std::string attribute("\x30\x07\x06\x01\x2a\x31\x02\x05\x00", 9);
    const std::string vector = message.substr(cipher + 2, 11) + Element('\x04', std::string(65536, '\0'));
    const std::string most = Element('\x04', std::string(72 * DfsOpen::kMebibyte, '\0'));
    const std::string longName = R"({"item":[{"filename":")" + std::string(100000, 'n') + "\"}";
    const std::pair<std::string, std::vector<Member>> cases[] = {
        {"more recipients than are accepted",
         changed(recipients, cipher - 13, Element('\x31', Repeated(recipient, kManyTimes)))},
        {"more recipients than are accepted", changed(cipher, content, Element('\x30', vector))},
        {"1 item, all whole", changed(end, end, Element('\xa1', Repeated(attribute, kManyTimes)))},
        {"decrypted to something that is not gzip", changed(content, end, "\xa0\x80" + most + std::string(4, '\0'))},
        {"the manifest lists more items than are accepted; the first 2000",
         {{"dfs_uploadmanifest.json", longName + Repeated(",{}", 65000) + "]}"}}},
        {"is refused", std::vector<Member>(20, {"../" + std::string(900000, 'n')})},
    };
    for (const auto& [expected, members] : cases) {
        const Finished result = maker.Open(maker.Write(members));
        EXPECT_THAT(result.output, HasSubstr(expected));
        EXPECT_EQ(result.status, expected == "1 item, all whole" ? 0 : 1) << expected;
        EXPECT_LT(result.output.size(), DfsOpen::kMebibyte) << expected;
    }
}

TEST(DfsOpenDamage, Bombs_EndAtTheBounds)
{
    using DfsOpen::Limits;
    const ArchiveMaker maker;
    const Member manifest = maker.Manifest({{"bomb", "bomb"}, {"second", "second"}});
    const std::string bomb = maker.Seal(std::string(1000000, '\0'));
    const std::string two = ReadWholeFile(maker.Write({manifest, {"bomb.gz", bomb}, {"second.gz", bomb}}));
    // A sparse file, the map of whose pieces begins in its header and ends in the next block.
    const std::string holes = maker.Filter(
        "sh -c 'for at in 1 2 3 4 5 79; do echo | dd of=holes.gz bs=1M seek=$at conv=notrunc status=none; done;"
        " tar -cSf - --format=gnu holes.gz'",
        "");
    std::string moreOfMap = holes.substr(512, 512);
    moreOfMap[504] = '\1'; // there is one more
    const std::string nothing = maker.Gzip("");
    const struct
    {
        std::string archive;
        std::uint64_t Limits::*limit;
        std::uint64_t value;
        std::string expected;
    } cases[] = {
        {two, &Limits::plainSize, 999999, "larger than is accepted"},
        {two, &Limits::totalSize, 1000001, "the archive makes more work than is accepted"},
        {two, &Limits::processorSeconds, 0, "the archive makes more work than is accepted"},
        {two, &Limits::sealedSize, bomb.size() / 2, "larger than is accepted"},
        {two, &Limits::members, 2, "it has more than 2 members"},
        {two, &Limits::manifestSize, manifest.content.size() - 1, "the manifest is larger than is accepted"},
        {maker.Gzip(holes), &Limits::totalSize, DfsOpen::kMebibyte, "makes more work than is accepted"},
        {Repeated(nothing, 10000), &Limits::totalSize, nothing.size() * 9000,
         "cannot be read to its end: the archive makes more work than is accepted"},
        {maker.Gzip(holes.substr(0, 512) + Repeated(moreOfMap, 8000)), &Limits::members, 2000,
         "it has a header that is larger than is accepted"},
    };
    const TemporaryFolder folder;
    for (const auto& [archive, limit, value, expected] : cases) {
        DfsOpen::Options options;
        options.archive = folder.Write("archive", archive);
        options.key = maker.Path("key.pem");
        options.limits.*limit = value;
        std::ostringstream out;
        EXPECT_FALSE(DfsOpen::Run(options, out, out)) << expected << " at " << value;
        EXPECT_THAT(out.str(), HasSubstr(expected)) << value;
    }
    EXPECT_EQ(maker.Open(folder.Write("two", two), {"--max-plain-size", "999999"}).status, 1);
    Limits lifted;
    lifted.Lift(1);
    EXPECT_GT(std::min(lifted.totalSize, lifted.processorSeconds), Limits().totalSize * 1000);

    // What the device sends at the most is no bomb.
    const std::string most = maker.Seal(std::string(65 * DfsOpen::kMebibyte, '\0'));
    EXPECT_EQ(maker.Open(maker.Write({manifest, {"bomb.gz", most}, {"second.gz", bomb}})).status, 0);
}
