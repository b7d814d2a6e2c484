#pragma once

#include "DFDiagItemGatrix.h"

#include <string>

namespace DiagnosticFileSvc
{
/** An item whose input is an endpoint that answers with a payload: its text is collected, encrypted. */
class DFDiagItemGXPayload : public DFDiagItemGatrix
{
public:
    using DFDiagItemGatrix::DFDiagItemGatrix;

    /** Asks the endpoint. */
    void ProcessDiagnosticItem() override;

    /** Runs the encrypting script on the payload, which the shell reads in double quotes, not escaped further. */
    void ProcessGXResponse(const std::string& payload) override;
};
} // namespace DiagnosticFileSvc
