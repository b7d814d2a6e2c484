#include <algorithm>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>

#include "FuzzCheck.h"
#include "QuillaneTokens.h"

using JwtUtils::FromSeconds;
using JwtUtils::QuillaneTokens;

namespace
{
/** Makes what comes before the next 0xff, which no text holds, the file's content, and takes it off the input. */
void WriteNext(std::string& input, const std::string& path)
{
    const std::size_t end = std::min(input.find('\xff'), input.size());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << input.substr(0, end);
    input.erase(0, end + 1);
}

/** Whether the file loads; a time stamp that is none is no finding. */
bool Load(QuillaneTokens& tokens, const std::string& path)
{
    try {
        return tokens.ReadFile(path);
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
    FUZZ_CHECK(tokens.IsValid() && tokens.AccessRefreshDelay(FromSeconds(0)) == 0);
    return false;
}
} // namespace

/** The input is the token file, 0xff, the file of its time stamp, 0xff, the file of the refresh token's. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string input(reinterpret_cast<const char*>(data), size);
    WriteNext(input, "/run/fuzzed.json");
    WriteNext(input, "/run/fuzzed.timestamp");
    WriteNext(input, "/run/fuzzed.refresh_token");
    QuillaneTokens tokens;
    if (!Load(tokens, "/run/fuzzed.json")) {
        return 0;
    }
    FUZZ_CHECK(tokens.WriteFile("/run/stored.json"));
    QuillaneTokens again;
    FUZZ_CHECK(Load(again, "/run/stored.json"));
    FUZZ_CHECK(again.Tokens().SerializeAsString() == tokens.Tokens().SerializeAsString());
    FUZZ_CHECK(again.AccessRefreshDelay(FromSeconds(0)) == tokens.AccessRefreshDelay(FromSeconds(0)));
    FUZZ_CHECK(again.RefreshRefreshDelay(FromSeconds(0)) == tokens.RefreshRefreshDelay(FromSeconds(0)));
    FUZZ_CHECK(again.Validate() == tokens.Validate());
    return 0;
}
