#include "FuzzCheck.h"
#include "MaskCases.h"

#include <algorithm>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string whole = Masked(input, size + 1);
    FUZZ_CHECK(Masked(input, 1 + size % 7) == whole);
    // Whatever surrounds it, a line with a secret is masked, and the lines stay apart.
    const std::string within = Masked(input + "\ntoken=0a1b2c3d4e5f6\n", 4096);
    if (input.find("0a1b2c3d4e5f6") == std::string::npos) {
        FUZZ_CHECK(within.find("0a1b2c3d4e5f6") == std::string::npos);
    }
    FUZZ_CHECK(std::count(within.begin(), within.end(), '\n') == std::count(input.begin(), input.end(), '\n') + 2);
    return 0;
}
