#pragma once

#include "DPrint.h"

namespace CryptoKey
{
/** Logs that a call of OpenSSL has failed, and OpenSSL's own errors of this thread, a line each, which forgets them. */
void LogOpenSslError(const DPrint& log, const char* operation, const char* call);
} // namespace CryptoKey
