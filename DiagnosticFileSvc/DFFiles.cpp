#include "DFFiles.h"

#include "DFLimits.h"
#include "DFLog.h"
#include "Filename.h"
#include "SystemUtils.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace DiagnosticFileSvc
{
std::string ReadOwnFile(const DPrint& log, const char* operation, const std::string& path)
{
    std::error_code unknown;
    const std::uintmax_t size = std::filesystem::file_size(path, unknown);
    if (!unknown && size > kMaxOwnFileSize) {
        LogLine(log, LogLevel::Error, operation, path, " is not read: it has ", size, " bytes, more than ",
                kMaxOwnFileSize);
        return {};
    }
    return SystemUtils::ReadFile(path);
}

void RemoveFile(const DPrint& log, const char* operation, const std::string& path)
{
    if (!Files::FilenameOf(path).empty() && unlink(path.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
        LogLine(log, LogLevel::Warning, operation, path,
                " stays, it cannot be removed: ", std::generic_category().message(errno));
    }
}
} // namespace DiagnosticFileSvc
