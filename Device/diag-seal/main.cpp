#include "DiagSeal.h"
#include "Notice.h"
#include "Options.h"
#include "StartEnvironment.h"

#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>

int main(int argc, char** argv)
{
    constexpr int kFailure = 1;
    constexpr int kUsage = 2;
    try {
        DiagSeal::PrepareProcess();
        const auto options = DiagSeal::ParseOptions({argv + 1, argv + argc});
        if (options) {
            DiagSeal::Seal(*options);
        }
        return 0;
    } catch (const std::bad_alloc&) {
        DiagSeal::TellFailure("not enough memory");
        return kFailure;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "diag-seal: %s\n", error.what());
        return kUsage;
    } catch (const std::exception& error) {
        DiagSeal::TellFailure(error.what());
        return kFailure;
    }
}
