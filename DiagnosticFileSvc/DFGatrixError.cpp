#include "DFGatrixError.h"

#include "DFConstants.h"
#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);
} // namespace

Gatrix::Error MakeError(int statusCode, const std::string& message)
{
    Gatrix::Error error;
    error.set_statuscode(statusCode);
    error.set_message(message);
    return error;
}

void LogGatrixError(const char* operation, const Gatrix::Error& error)
{
    LogLine(s_log, LOG_LEVEL_ERROR, operation,
            "GOT an ERROR from the GatrixClient: ", [&error] { return error.DebugString(); });
}
} // namespace DiagnosticFileSvc
