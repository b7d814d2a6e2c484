#include "CliWire.h"
#include "FuzzTarget.h"

#include <algorithm>
#include <vector>

static std::vector<std::string> Lines(const std::string& input, std::size_t pieceSize)
{
    CliWire::LineCutter cutter(CliWire::kMaxRequestLength);
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < input.size(); at += pieceSize) {
        cutter.Append(input.data() + at, std::min(pieceSize, input.size() - at));
        while (auto line = cutter.Next()) {
            lines.push_back(std::move(*line));
        }
    }
    return lines;
}

template <class Message>
static void CheckReadsBack(const std::optional<Message>& message,
                           std::optional<Message> (*decode)(const std::string& line))
{
    if (message) {
        const std::string text = CliWire::Encode(*message);
        FUZZ_CHECK(text.find('\n') == text.size() - 1);
        const auto again = decode(text.substr(0, text.size() - 1));
        FUZZ_CHECK(again && CliWire::Encode(*again) == text);
    }
}

void CheckInput(const std::string& input)
{
    const auto lines = Lines(input, input.size() + 1);
    FUZZ_CHECK(Lines(input, 1 + input.size() % 7) == lines);
    for (const std::string& line : lines) {
        CheckReadsBack(CliWire::DecodeRequest(line), CliWire::DecodeRequest);
        CheckReadsBack(CliWire::DecodeEvent(line), CliWire::DecodeEvent);
    }
}
