#include "DFItemConfigFile.h"
#include "DFLimits.h"
#include "FuzzCheck.h"
#include "Items.h"

#include <cstdint>
#include <fstream>

using namespace DiagnosticFileSvc;

/** The input is the item configuration file. What a start makes of it is what the next start finds. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::ofstream("/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json", std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    DFItemRegistry first({});
    LoadDiagItemsFromConfigFile(first);
    FUZZ_CHECK(first.GetItems().size() <= kMaxRegisteredItems);
    for (const auto& item : first.GetItems()) {
        FUZZ_CHECK(WhyRefused(*item).empty());
    }
    CreateDiagItemConfigFile(first);
    DFItemRegistry next({});
    LoadDiagItemsFromConfigFile(next);
    FUZZ_CHECK(SubTypesOf(next) == SubTypesOf(first));
    return 0;
}
