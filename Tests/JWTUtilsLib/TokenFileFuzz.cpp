#include "FuzzTarget.h"
#include "QuillaneTokens.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

using JwtUtils::FromSeconds;
using JwtUtils::QuillaneTokens;

/** The input is the token file, 0xff, the file of its time stamp, 0xff, the file of the refresh token's. */
void CheckInput(const std::string& input)
{
    std::istringstream files(input);
    for (const char* path : {"/run/fuzzed.json", "/run/fuzzed.timestamp", "/run/fuzzed.refresh_token"}) {
        std::string content;
        std::getline(files, content, '\xff');
        std::ofstream(path, std::ios::binary) << content;
    }
    QuillaneTokens tokens;
    try {
        if (!tokens.ReadFile("/run/fuzzed.json")) {
            return;
        }
    } catch (const std::logic_error&) {
        // A time stamp that is none is no finding: all else is loaded.
        FUZZ_CHECK(tokens.IsValid() && tokens.AccessRefreshDelay(FromSeconds(0)) == 0);
    }
    FUZZ_CHECK(tokens.WriteFile("/run/stored.json"));
    QuillaneTokens again;
    FUZZ_CHECK(again.ReadFile("/run/stored.json"));
    FUZZ_CHECK(again.Tokens().SerializeAsString() == tokens.Tokens().SerializeAsString());
    FUZZ_CHECK(again.AccessRefreshDelay(FromSeconds(0)) == tokens.AccessRefreshDelay(FromSeconds(0)));
    FUZZ_CHECK(again.RefreshRefreshDelay(FromSeconds(0)) == tokens.RefreshRefreshDelay(FromSeconds(0)));
}
