#include "OpenSslErrors.h"

#include <openssl/err.h>

namespace CryptoKey
{
namespace
{
constexpr int kErrorLevel = 1;

struct Line
{
    const DPrint& log;
    const char* operation;
};

int LogErrorLine(const char* text, std::size_t length, void* context)
{
    const Line& line = *static_cast<const Line*>(context);
    if (length > 0 && text[length - 1] == '\n') {
        --length;
    }
    line.log.Log(kErrorLevel, "%s: OpenSSL: %.*s", line.operation, static_cast<int>(length), text);
    return 1;
}
} // namespace

void LogOpenSslError(const DPrint& log, const char* operation, const char* call)
{
    log.Log(kErrorLevel, "%s: Error in %s:", operation, call);
    Line line{log, operation};
    ERR_print_errors_cb(LogErrorLine, &line);
}
} // namespace CryptoKey
