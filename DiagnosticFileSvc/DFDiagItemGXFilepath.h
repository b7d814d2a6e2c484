#pragma once

#include "DFDiagItemGatrix.h"

#include <string>

namespace DiagnosticFileSvc
{
/** An item whose input is an endpoint that answers with the path of a file: a copy of that is collected, encrypted. */
class DFDiagItemGXFilepath : public DFDiagItemGatrix
{
public:
    using DFDiagItemGatrix::DFDiagItemGatrix;

    /** Asks the endpoint. */
    void ProcessDiagnosticItem() override;

    /** Runs the encrypting script on the path received, which the shell reads unquoted. */
    void ProcessGXResponse(const std::string& path) override;
};
} // namespace DiagnosticFileSvc
