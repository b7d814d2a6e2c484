#include "FuzzCheck.h"
#include "Masker.h"

#include <algorithm>
#include <cstdint>
#include <string>

using namespace DiagSeal;

static std::string Masked(std::string_view text, std::size_t pieceSize)
{
    Masker masker(MaskKey{}, std::make_unique<SecretFinder>(BuiltInRules()));
    std::string out;
    for (std::size_t at = 0; at < text.size(); at += pieceSize) {
        masker.Feed(text.substr(at, pieceSize), out);
    }
    masker.Finish(out);
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string whole = Masked(input, size + 1);
    FUZZ_CHECK(Masked(input, 1 + size % 7) == whole);
    // Whatever surrounds it, a line with a secret is masked, and the lines stay apart.
    const std::string within = Masked(std::string(input) + "\ntoken=0a1b2c3d4e5f6\n", 4096);
    if (input.find("0a1b2c3d4e5f6") == std::string_view::npos) {
        FUZZ_CHECK(within.find("0a1b2c3d4e5f6") == std::string::npos);
    }
    FUZZ_CHECK(std::count(within.begin(), within.end(), '\n') == std::count(input.begin(), input.end(), '\n') + 2);
    return 0;
}
