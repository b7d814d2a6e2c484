#include "DfsOpen.h"

#include "Escape.h"
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

constexpr const char* kHelpText =
    R"(usage: dfs-open ARCHIVE [--key KEY] [--list | --extract DIR | --cat SUBTYPE]

Shows what an archive of diagnostic files holds and whether it is whole, and opens it.

  --list                    show the items (the default); with a key each is opened to see whether it is whole
  --extract DIR             write every item's plain content into DIR, which is made if it is not there; a file that is
                            there already is never overwritten; what is left of a damaged item is NAME.damaged
  --cat SUBTYPE             write the plain content of the items with this sub-type to standard output, in the order in
                            which the archive holds them
  --key KEY                 the private key, in PEM form, that belongs to the device's certificate; --extract and --cat
                            need it
  --max-plain-size BYTES    accept items of up to so many bytes (default 1 GiB), however long opening the archive takes
  --help                    show this text

Exit status: 0 all is whole, 1 something is missing, damaged, refused or not in the manifest (with --cat: of what was
asked for), 2 wrong usage, or a file that cannot be opened.
)";

FileDescriptor OpenArchive(const std::string& path)
{
    // A named pipe must not keep the program waiting: what is opened is looked at first.
    FileDescriptor archive(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!archive) {
        throw std::runtime_error("cannot open " + path + ": " + std::generic_category().message(errno));
    }
    struct stat status
    {};
    if (fstat(archive.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw std::runtime_error(path + " is not a regular file");
    }
    return archive;
}

std::unique_ptr<PlainOutput> MakeOutput(const Options& options, std::ostream& out)
{
    switch (options.action) {
        case Action::kExtract:
            return std::make_unique<FolderOutput>(options.folder);
        case Action::kCat:
            return std::make_unique<StreamOutput>(options.subType, out);
        case Action::kList:
        case Action::kHelp:
            break;
    }
    return std::make_unique<NoOutput>();
}

ExitStatus ReportCat(const ArchiveReport& report, const std::string& subType, std::ostream& err)
{
    for (const std::string& fault : report.faults) {
        err << "dfs-open: " << fault << '\n';
    }
    bool found = false;
    bool whole = true;
    for (const ItemReport& item : report.items) {
        if (!item.listed || item.entry.subType != subType) {
            continue;
        }
        found = true;
        if (item.state != ItemState::kWhole) {
            whole = false;
            err << "dfs-open: " << Escape::Name(item.entry.fileName) << ": " << Describe(item.state)
                << (item.problem.empty() ? "" : ": " + Escape::Name(item.problem)) << '\n';
        }
    }
    if (!found) {
        err << "dfs-open: no item has the sub-type \"" << Escape::Name(subType) << "\"\n";
    }
    return found && whole ? ExitStatus::kWhole : ExitStatus::kFaulty;
}

} // namespace

ExitStatus Run(const Options& options, std::ostream& out, std::ostream& err)
{
    if (options.action == Action::kHelp) {
        out << kHelpText;
        return ExitStatus::kWhole;
    }
    try {
        const FileDescriptor archive = OpenArchive(options.archive);
        std::unique_ptr<PrivateKey> key;
        if (options.key) {
            key = std::make_unique<PrivateKey>(*options.key);
        }
        const std::unique_ptr<PlainOutput> output = MakeOutput(options, out);
        const ArchiveReport report = Examine(archive.Get(), key.get(), options.limits, *output);
        if (options.action == Action::kCat) {
            return ReportCat(report, options.subType, err);
        }
        PrintTable(report, out);
        PrintVerdict(report, out);
        return report.IsWhole() ? ExitStatus::kWhole : ExitStatus::kFaulty;
    } catch (const std::exception& error) {
        err << "dfs-open: " << error.what() << '\n';
        return ExitStatus::kCannot;
    }
}

} // namespace DfsOpen
