#include "DFItemConfigFile.h"
#include "DFLimits.h"
#include "FuzzTarget.h"
#include "Items.h"

#include <fstream>

using namespace DiagnosticFileSvc;

/** The input is the item configuration file. What a start makes of it is what the next start finds. */
void CheckInput(const std::string& input)
{
    std::ofstream("/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json", std::ios::binary) << input;
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
}
