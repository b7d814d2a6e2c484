#include "FuzzTarget.h"
#include "MaskCases.h"

#include <algorithm>

void CheckInput(const std::string& input)
{
    const std::string whole = Masked(input, input.size() + 1);
    FUZZ_CHECK(Masked(input, 1 + input.size() % 7) == whole);
    // Whatever surrounds it, a line with a secret is masked, and the lines stay apart.
    const std::string within = Masked(input + "\ntoken=0a1b2c3d4e5f6\n", 4096);
    if (input.find("0a1b2c3d4e5f6") == std::string::npos) {
        FUZZ_CHECK(within.find("0a1b2c3d4e5f6") == std::string::npos);
    }
    FUZZ_CHECK(std::count(within.begin(), within.end(), '\n') == std::count(input.begin(), input.end(), '\n') + 2);
}
