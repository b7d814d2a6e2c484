#include "FittingReply.h"
#include "GatrixBody.h"
#include "ProtoToMarkup.h"
#include "Texts.h"
#include "UploadSysInfo.pb.h"

#include <gmock/gmock.h>

#include <limits>

using namespace Gatrix;
using testing::EndsWith;

constexpr std::size_t kFrame = Wire::kMaxFrameBytes;

/** The bytes of the frame as it leaves the gateway, with the longest number there is. */
template <class Reply>
static std::size_t SizeSent(Reply reply)
{
    EXPECT_EQ(std::exchange(reply.id, std::numeric_limits<std::uint64_t>::max()), 7U);
    return Wire::Serialize(reply).size();
}

TEST(FittingReply, AnyText_FitsItsFrameAndLosesLittle)
{
    const struct
    {
        std::string text;
        /** What arrives begins and ends so. */
        std::string begin, end;
        /** Bytes that the frames of the answer and of the error have at least. */
        std::size_t answer, error;
    } cases[] = {
        {"caf\xe9 \xc3\xa9\xed\xa0\x80", "caf\xef\xbf\xbd \xc3\xa9\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd", "", 0, 0},
        {std::string(kFrame - 200, 'x'), "xx", "xx", kFrame - 200, kFrame - 200},
        {std::string(kFrame, 'x'), "xx", "x... (99 bytes more)", kFrame - 10, 0},
        {Repeated("\xc3\xa9", kFrame), "\xc3\xa9", "\xc3\xa9... (1048680 bytes more)", kFrame - 1000, kFrame - 1000},
        {std::string(kFrame, '\x01'), "\x01", " bytes more)", kFrame - 1000, kFrame - 1000},
        {"a" + std::string(400000, '\x01') + std::string(900000, 'z'), "a\x01", " bytes more)", kFrame / 2, kFrame / 2},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text.substr(0, 10) + " " + std::to_string(each.text.size()));
        DFSCommonPB::UploadResponse response;
        response.set_statuscode(200);
        response.set_message(each.text);
        const Wire::Answer answer = FittingReply::Answer(7, response);
        EXPECT_LE(SizeSent(answer), kFrame);
        EXPECT_GE(SizeSent(answer), each.answer);
        DFSCommonPB::UploadResponse arrived;
        ProtoToMarkup::FromJson(*answer.body, arrived);
        EXPECT_EQ(arrived.statuscode(), 200);
        EXPECT_EQ(arrived.message().substr(0, each.begin.size()), each.begin);
        EXPECT_TRUE(testing::Matches(EndsWith(each.end))(arrived.message()));

        const Wire::Refusal refusal = FittingReply::Refusal(7, MakeError(500, each.text));
        EXPECT_LE(SizeSent(refusal), kFrame);
        EXPECT_GE(SizeSent(refusal), each.error);
        EXPECT_EQ(refusal.statusCode, 500);
        EXPECT_EQ(refusal.message.substr(0, each.begin.size()), each.begin);
    }
}

TEST(FittingReply, LongestTexts_AreCutFirst)
{
    DFSCommonPB::UploadManifest manifest;
    for (const std::size_t size : {std::size_t{100}, kFrame, 2 * kFrame}) {
        DFSCommonPB::ManifestItem& item = *manifest.add_item();
        item.set_filename("short");
        item.set_type(DFSCommonPB::TOP);
        item.set_subtype(std::string(size, 'x'));
    }
    const Wire::Answer answer = FittingReply::Answer(7, manifest);
    EXPECT_LE(SizeSent(answer), kFrame);
    DFSCommonPB::UploadManifest arrived;
    ProtoToMarkup::FromJson(*answer.body, arrived);
    EXPECT_EQ(arrived.item(0).subtype().size(), 100U);
    EXPECT_EQ(arrived.item(2).subtype(), "... (2097152 bytes more)");
    EXPECT_GT(arrived.item(1).subtype().size(), kFrame - 1000);
}
