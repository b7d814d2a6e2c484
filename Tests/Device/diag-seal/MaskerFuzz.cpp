#include "FuzzTarget.h"
#include "MaskCases.h"

#include <algorithm>

namespace
{
// One object masks all texts: it takes hundreds of times as long to make one as to mask a text.
std::string MaskedByOne(const std::string& input, std::size_t pieceSize)
{
    static DiagSeal::Masker masker = MakeMasker();
    std::string output = MaskedBy(masker, input, pieceSize);
    // A key that has begun ends here, a dump after so many lines at the latest.
    for (int line = 0; line < 64; ++line) {
        MaskedBy(masker, "\n-----END\n", 16);
    }
    return output;
}
} // namespace

void CheckInput(const std::string& input)
{
    const std::string whole = MaskedByOne(input, input.size() + 1);
    FUZZ_CHECK(MaskedByOne(input, 1 + input.size() % 7) == whole);
    // Whatever surrounds it, a line with a secret is masked, and the lines stay apart.
    const std::string within = MaskedByOne(input + "\ntoken=0a1b2c3d4e5f6\n", 4096);
    if (input.find("0a1b2c3d4e5f6") == std::string::npos) {
        FUZZ_CHECK(within.find("0a1b2c3d4e5f6") == std::string::npos);
    }
    FUZZ_CHECK(std::count(within.begin(), within.end(), '\n') == std::count(input.begin(), input.end(), '\n') + 2);
}
