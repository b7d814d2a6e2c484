#include "DfsOpen.h"

#include "Examination.h"
#include "FileDescriptor.h"
#include "Report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <cerrno>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <system_error>

namespace DfsOpen
{

namespace
{

FileDescriptor OpenArchive(const std::string& path)
{
    // Opening a named pipe must not block.
    FileDescriptor archive(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!archive) {
        throw std::invalid_argument("cannot open " + path + ": " + std::generic_category().message(errno));
    }
    struct stat status
    {};
    if (fstat(archive.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw std::invalid_argument(path + " is not a regular file");
    }
    return archive;
}

std::unique_ptr<PlainOutput> MakeOutput(const Options& options, std::ostream& out)
{
    if (options.folder) {
        return std::make_unique<FolderOutput>(*options.folder);
    }
    if (options.subType) {
        return std::make_unique<StreamOutput>(*options.subType, out);
    }
    return std::make_unique<PlainOutput>();
}

} // namespace

bool Run(const Options& options, std::ostream& out, std::ostream& err)
{
    const FileDescriptor archive = OpenArchive(options.archive);
    std::unique_ptr<PrivateKey> key;
    if (options.key) {
        key = std::make_unique<PrivateKey>(*options.key);
    }
    const std::unique_ptr<PlainOutput> output = MakeOutput(options, out);
    const ArchiveReport report = Examine(archive.Get(), key.get(), options.limits, *output);
    if (options.subType) {
        return PrintFaults(report, *options.subType, err);
    }
    Print(report, out);
    return report.IsSound();
}

} // namespace DfsOpen
