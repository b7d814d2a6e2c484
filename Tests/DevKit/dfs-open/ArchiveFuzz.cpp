#include "Envelope.h"
#include "Examination.h"
#include "FuzzTarget.h"
#include "Texts.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
/** @param mode of gzdopen(): "wT" leaves the input as it is; "w0" stores it, so that what is changed stays where it is
 */
void CheckArchive(const std::string& input, const char* mode)
{
    const FileDescriptor file(memfd_create("archive", MFD_CLOEXEC));
    const gzFile writer = gzdopen(dup(file.Get()), mode);
    FUZZ_CHECK(gzwrite(writer, input.data(), static_cast<unsigned>(input.size())) == static_cast<int>(input.size()));
    FUZZ_CHECK(gzclose(writer) == Z_OK);
    lseek(file.Get(), 0, SEEK_SET);
    DfsOpen::Limits limits;
    limits.members = 20;
    limits.plainSize = limits.sealedSize = DfsOpen::kMebibyte;
    DfsOpen::PlainOutput output;
    const DfsOpen::ArchiveReport report = DfsOpen::Examine(file.Get(), nullptr, limits, output);
    FUZZ_CHECK(report.items.size() <= 2 * limits.members);
    FUZZ_CHECK(!report.items.empty() || !report.faults.empty());
    for (const std::string& fault : report.faults) {
        FUZZ_CHECK(std::all_of(fault.begin(), fault.end(), [](char byte) { return byte >= ' ' && byte <= '~'; }));
    }
}
} // namespace

/** The input is taken for what each layer reads: an archive, the tar file within, a message, a manifest. */
void CheckInput(const std::string& input)
{
    CheckArchive(input, "wT");
    CheckArchive(input, "w0");
    const std::string fault =
        ErrorOf<std::runtime_error>([&input] { FUZZ_CHECK(DfsOpen::ParseManifest(input).size() < input.size()); });
    FUZZ_CHECK(fault == "no error" || fault.find("manifest") != std::string::npos);
    ErrorOf<DfsOpen::Fault>([message = input]() mutable {
        DfsOpen::OpenEnvelope(message, nullptr, [](std::string_view) { FUZZ_CHECK(false); });
    });
}
