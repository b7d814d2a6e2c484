#include "FuzzTarget.h"
#include "GatrixBody.h"
#include "GatrixWire.h"
#include "Utf8Text.h"

#include <optional>

using namespace Gatrix;

static std::optional<Wire::Frame> Read(const std::string& text)
{
    try {
        return Wire::Parse(text);
    } catch (const Wire::FrameError& error) {
        FUZZ_CHECK(std::string(error.what()).size() <= 123);
        return std::nullopt;
    }
}

static void CheckReadsBack(const Wire::Frame& frame)
{
    const std::string text = Wire::Serialize(frame);
    const auto again = Read(text);
    FUZZ_CHECK(again && Wire::Serialize(*again) == text && text.find('\n') == std::string::npos);
}

void CheckInput(const std::string& input)
{
    if (const auto frame = Read(input)) {
        CheckReadsBack(*frame);
        FUZZ_CHECK(!Utf8Text::IsValid(input) || Utf8Text::IsValid(Wire::Serialize(*frame)));
    }
    const std::string body = BodyOfText(input);
    FUZZ_CHECK(Utf8Text::IsValid(body));
    CheckReadsBack(Wire::Answer{1, body});
    TextOfBody(body);
}
