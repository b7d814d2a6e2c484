#include "DfsOpen.h"

#include "Examination.h"
#include "Report.h"

#include <memory>
#include <ostream>

namespace DfsOpen
{

namespace
{

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
    const PrivateKey key = ReadPrivateKey(options.key);
    const std::unique_ptr<PlainOutput> output = MakeOutput(options, out);
    const ArchiveReport report = Examine(archive.Get(), key, options.limits, *output);
    if (options.subType) {
        return PrintFaults(report, *options.subType, err);
    }
    Print(report, out);
    return report.IsSound();
}

} // namespace DfsOpen
