#pragma once

#include "GatrixClientIF.h"

#include <string>

/** Errors as the gateway carries them. */
namespace DiagnosticFileSvc
{
/** Thread-safe. */
Gatrix::Error MakeError(int statusCode, const std::string& message);

/** Logs an error that the gateway has brought, under the operation's name. Thread-safe. */
void LogGatrixError(const char* operation, const Gatrix::Error& error);
} // namespace DiagnosticFileSvc
