#include "FileCompressor.h"

#include "BlockedSignals.h"
#include "Descriptor.h"
#include "ErrorText.h"
#include "GzipStream.h"
#include "Output.h"
#include "RegularFile.h"

#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <stdexcept>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

void Require(bool isDone, const std::string& path)
{
    if (!isDone) {
        throw std::runtime_error(path + ": " + ErrorText());
    }
}

void WriteCompressed(RegularFile& file, const std::string& path)
{
    // Less the umask, as for a file that a shell makes.
    constexpr mode_t kMode = 0666;
    const Descriptor target(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    Require(target.Get() >= 0, path);
    Output output(target.Get(), path);
    GzipStream gzip(1, [&output](std::string_view bytes) { output.Write(bytes); });
    file.Read(std::numeric_limits<std::uint64_t>::max(), [&gzip](std::string_view bytes) { gzip.Write(bytes); });
    gzip.Finish();
    output.Flush();
}

} // namespace

void CompressFile(const std::string& path)
{
    RegularFile file(path);
    const std::string compressed = path + ".gz";
    // No longer than the name to come, so that whatever leaves room for that one leaves room for both.
    const std::string partial = path + ".g~";
    BlockSignals();
    // A killed run may have left one.
    unlink(partial.c_str());
    try {
        WriteCompressed(file, partial);
        Require(std::rename(partial.c_str(), compressed.c_str()) == 0, compressed);
    } catch (...) {
        unlink(partial.c_str());
        throw;
    }
    Require(unlink(path.c_str()) == 0, path);
}

} // namespace DiagSeal
