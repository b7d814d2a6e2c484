#include "DfsOpen.h"
#include "Listing.h"
#include "ReportRun.h"
#include "Tool.h"

#include <filesystem>
#include <iostream>

int main(int argc, char** argv)
{
    constexpr std::uint64_t kLargestPlainSize = std::uint64_t{1} << 50U;
    DfsOpen::Options options;
    std::optional<std::string> page;
    std::optional<std::string> other;
    bool isJson = false;
    CLI::App app("Shows what an archive of diagnostic files holds and whether it is whole, and opens it.", "dfs-open");
    app.footer(
        "Exit status: 0 all is whole, 1 something is missing, damaged, refused or not in the manifest (with\n"
        "--cat: of what was asked for), 2 wrong usage, or a file that cannot be opened.");
    app.add_option("ARCHIVE", options.archive, "an archive, or a folder of archives, which are listed, one a line")
        ->required();
    CLI::Option* const key =
        app.add_option("--key", options.key, "the private key, in PEM form, that belongs to the device's certificate")
            ->type_name("KEY");
    CLI::Option* const list =
        app.add_flag("--list", "show the items (the default); with a key each is opened to see whether it is whole");
    CLI::Option* const extract = app.add_option("--extract", options.folder,
                                                "write every item's plain content into DIR, which is made if need be;\n"
                                                "a file that is there already is never overwritten; what is left of a\n"
                                                "damaged item is NAME.damaged")
                                     ->type_name("DIR")
                                     ->needs(key)
                                     ->excludes(list);
    CLI::Option* const report =
        app.add_option("--report", page,
                       "write one HTML page that shows the archive at a glance, with the text of\n"
                       "every item; a page that is there is replaced")
            ->type_name("PAGE")
            ->excludes(list)
            ->excludes(extract);
    app.add_option("--compare", other, "with --report, show what has changed since that archive of the device")
        ->type_name("OTHER")
        ->needs(report);
    app.add_flag("--json", isJson, "of a folder, write each line as a JSON object");
    app.add_option("--cat", options.subType,
                   "write the plain content of the items with this sub-type to standard\n"
                   "output, in the order in which the archive holds them")
        ->type_name("SUBTYPE")
        ->needs(key)
        ->excludes(list)
        ->excludes(extract)
        ->excludes(report);
    app.add_option_function<std::uint64_t>(
           "--max-plain-size", [&options](std::uint64_t bytes) { options.limits.Lift(bytes); },
           "accept items of up to so many bytes, 1 GiB if not given, however long opening the archive takes")
        ->type_name("BYTES")
        ->check(CLI::Range(std::uint64_t{1}, kLargestPlainSize));
    return RunTool(app, argc, argv, [&] {
        const bool isFolder = std::filesystem::is_directory(options.archive);
        if (isFolder && (page || options.folder || options.subType)) {
            throw std::invalid_argument(options.archive + " is a folder, which is only listed");
        }
        if (isJson && !isFolder) {
            throw std::invalid_argument("--json is for a folder");
        }
        if (isFolder) {
            return DfsReport::List(options.archive, options.key, options.limits, isJson, std::cout) ? 0 : 1;
        }
        if (page) {
            return DfsReport::Run({options.archive, options.key, *page, other, options.limits}, std::cout) ? 0 : 1;
        }
        return DfsOpen::Run(options, std::cout, std::cerr) ? 0 : 1;
    });
}
