#include "FuzzCheck.h"
#include "GatrixBody.h"
#include "GatrixWire.h"
#include "Utf8Text.h"

#include <cstdint>
#include <optional>
#include <string>

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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    if (const auto frame = Read(input)) {
        CheckReadsBack(*frame);
        FUZZ_CHECK(!Utf8Text::IsValid(input) || Utf8Text::IsValid(Wire::Serialize(*frame)));
    }
    const std::string body = BodyOfText(input);
    FUZZ_CHECK(Utf8Text::IsValid(body));
    CheckReadsBack(Wire::Answer{1, body});
    TextOfBody(body);
    return 0;
}
