#pragma once

#include "DFDiagItemCommand.h"

namespace DiagnosticFileSvc
{
/** An item whose input is the path of a file: a copy of the file is collected, encrypted. */
class DFDiagItemExistingFile : public DFDiagItemCommand
{
public:
    using DFDiagItemCommand::DFDiagItemCommand;

    /** Runs the encrypting script on the input, which the shell reads unquoted. */
    void ProcessDiagnosticItem() override;
};
} // namespace DiagnosticFileSvc
