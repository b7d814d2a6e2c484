#include "ArchiveMaker.h"
#include "DfsOpen.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>

namespace
{
using testing::HasSubstr;

const std::string kLog = "a line of the log\n";
constexpr std::size_t kManyTimes = 2000000;

/** An element in DER. */
std::string Element(char identifier, const std::string& content)
{
    std::string made = {identifier, '\x84'};
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        made += static_cast<char>(content.size() >> shift & 0xffU);
    }
    return made + content;
}
} // namespace

TEST(DfsOpenHostile, Archive_StaysWithinMemoryAndSaysWhatIsWrong)
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

TEST(DfsOpenHostile, Bombs_EndAtTheBounds)
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
