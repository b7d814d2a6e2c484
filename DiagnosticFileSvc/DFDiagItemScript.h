#pragma once

#include "DFDiagItemCommand.h"

namespace DiagnosticFileSvc
{
/** An item whose input is a command: what the command prints is collected. */
class DFDiagItemScript : public DFDiagItemCommand
{
public:
    using DFDiagItemCommand::DFDiagItemCommand;

    /** Runs the input as it stands: the built-in ones begin with the wrapper that encrypts what the command prints. */
    void ProcessDiagnosticItem() override;
};
} // namespace DiagnosticFileSvc
