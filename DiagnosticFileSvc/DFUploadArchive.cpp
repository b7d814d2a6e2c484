#include "DFUploadArchive.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "StdioFile.h"

#include <openssl/md5.h>

#include <array>
#include <cstdio>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);
} // namespace

std::optional<std::string> CalculateMD5Checksum(const std::string& path)
{
    const LogScope scope(s_log, __func__);
    const Files::StdioFile file = Files::OpenForReading(path);
    if (!file) {
        return std::nullopt;
    }
    // OpenSSL's older functions: unlike those of EVP, by which the kit makes its digests, they cannot fail.
    MD5_CTX context;
    MD5_Init(&context);
    std::array<unsigned char, 1024> chunk;
    std::size_t length = 0;
    while ((length = std::fread(chunk.data(), 1, chunk.size(), file.get())) > 0) {
        MD5_Update(&context, chunk.data(), length);
    }
    std::array<unsigned char, MD5_DIGEST_LENGTH> digest;
    MD5_Final(digest.data(), &context);

    std::string md5;
    for (const unsigned char byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        md5 += digits;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - CalculateMD5Checksum, result: ", md5);
    if (std::ferror(file.get()) != 0) {
        return std::nullopt;
    }
    return md5;
}

std::optional<std::string> ReadArchive(const std::string& path)
{
    const Files::StdioFile file = Files::OpenForReading(path);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const long size = std::ftell(file.get());
    if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return std::nullopt;
    }
    LogProgress(s_log, "PostDiagnosticFile", "compressed file size:", size);
    // Not Files::ReadAll: an archive is large, and takes its memory once, at its size.
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}
} // namespace DiagnosticFileSvc
