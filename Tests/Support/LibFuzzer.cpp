#include "FuzzTarget.h"

#include <cstdint>

/** What libFuzzer calls. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CheckInput({reinterpret_cast<const char*>(data), size});
    return 0;
}
