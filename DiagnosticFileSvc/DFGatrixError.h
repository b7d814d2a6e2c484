#pragma once

#include "DFLog.h"
#include "GatrixClientIF.h"

#include <string>

/** Errors as the gateway carries them. */
namespace DiagnosticFileSvc
{
inline Gatrix::Error MakeError(int statusCode, const std::string& message)
{
    Gatrix::Error error;
    error.set_statuscode(statusCode);
    error.set_message(message);
    return error;
}

/** Logs an error that came from the gateway, under the operation's name. Thread-safe. */
inline void LogGatrixError(const DPrint& log, const char* operation, const Gatrix::Error& error)
{
    LogLine(log, LogLevel::Error, operation,
            "GOT an ERROR from the GatrixClient: ", [&error] { return error.DebugString(); });
}
} // namespace DiagnosticFileSvc
