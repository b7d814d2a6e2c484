#include "Envelope.h"
#include "Examination.h"
#include "FuzzTarget.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
/** Stored, not packed: what a fuzzer changes stays where it is. */
std::string Gzip(const std::string& content)
{
    z_stream stream{};
    constexpr int kGzipFormat = 16 + MAX_WBITS;
    FUZZ_CHECK(deflateInit2(&stream, Z_NO_COMPRESSION, Z_DEFLATED, kGzipFormat, 8, Z_DEFAULT_STRATEGY) == Z_OK);
    std::string packed(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    FUZZ_CHECK(deflate(&stream, Z_FINISH) == Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

void CheckArchive(const std::string& archive)
{
    const FileDescriptor file(memfd_create("archive", MFD_CLOEXEC));
    file.WriteAll(archive);
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
    CheckArchive(input);
    CheckArchive(Gzip(input));
    try {
        FUZZ_CHECK(DfsOpen::ParseManifest(input).size() < input.size());
    } catch (const std::runtime_error& error) {
        FUZZ_CHECK(std::string(error.what()).find("manifest") != std::string::npos);
    }
    try {
        std::string message = input;
        DfsOpen::OpenEnvelope(message, nullptr, [](std::string_view) { FUZZ_CHECK(false); });
    } catch (const DfsOpen::Fault&) {
    }
}
