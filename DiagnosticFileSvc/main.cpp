#include "DFConstants.h"
#include "DPrint.h"
#include "DiagnosticFileService.h"
#include "HttpGlobal.h"
#include "StartEnvironment.h"
#include "SystemUtils.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <unistd.h>

int main()
{
    try {
        DiagnosticFileSvc::SanitizeStartEnvironment();
        DPrint::Initialize();
        SystemUtils::ThereCanBeOnlyOne();
        std::signal(SIGPIPE, SIG_IGN);
        Http::InitializeProcess();
        DiagnosticFileSvc::DiagnosticFileService service;
        DPrint::Initialize();
        for (;;) {
            pause();
        }
    } catch (const std::exception& error) {
        std::clog << SystemUtils::GetEXE() << ": Caught top level exception: " << error.what() << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
}
