#include "FuzzTarget.h"
#include "ProtoToMarkup.h"
#include "UploadSysInfo.pb.h"

/** What is read is written, and read again, without a loss. What is refused leaves the message alone. */
template <class Message>
static void CheckReadsBack(const std::string& input)
{
    Message message;
    try {
        ProtoToMarkup::FromJson(input, message);
    } catch (const ProtoToMarkup::MarkupError& error) {
        FUZZ_CHECK(std::string(error.what()).find('\n') == std::string::npos);
        FUZZ_CHECK(message.ByteSizeLong() == 0);
        return;
    }
    const std::string json = ProtoToMarkup::ToJson(message);
    Message again;
    ProtoToMarkup::FromJson(json, again);
    FUZZ_CHECK(ProtoToMarkup::ToJson(again) == json);
    FUZZ_CHECK(again.ByteSizeLong() == message.ByteSizeLong());
}

void CheckInput(const std::string& input)
{
    CheckReadsBack<DFSCommonPB::UploadRequest>(input);
    CheckReadsBack<DFSCommonPB::MetadataPayload>(input);
    CheckReadsBack<DFSCommonPB::diagItemConfigList>(input);
}
