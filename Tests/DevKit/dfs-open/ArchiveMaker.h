#pragma once

#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <archive_entry.h>

#include <string>
#include <utility>
#include <vector>

/** One member of a tar file, whatever its name and type. */
struct Member
{
    std::string name;
    std::string content = {};
    unsigned type = AE_IFREG;
    std::string target = {}; ///< Of a symbolic link; of a regular file: a hard link to it.
};

/** Makes archives as the device does, with the same programs, and such as the device would never make. */
class ArchiveMaker
{
public:
    /** Makes a key, "key.pem", of a kind as `openssl req -newkey` takes it, and its certificate, "certificate.pem". */
    explicit ArchiveMaker(const std::string& kind = "rsa:2048");

    std::string Path(const std::string& name) const { return m_folder.Path() + "/" + name; }

    /** What the shell command, run beside the key, makes of the input. */
    std::string Filter(const std::string& command, const std::string& input) const;

    std::string Gzip(const std::string& content) const { return Filter("gzip -nc", content); }
    std::string Encrypt(const std::string& content, const std::string& cipher = "-aes-256-cbc",
                        const std::string& certificates = "certificate.pem") const;
    std::string Seal(const std::string& plain) const { return Gzip(Encrypt(Gzip(plain))); }

    /** A manifest as the device writes it: of each pair the file name and the sub-type. */
    static Member Manifest(const std::vector<std::pair<std::string, std::string>>& items);

    /** Writes the members as a .tar.gz, and returns its path. */
    std::string Write(const std::vector<Member>& members, const std::string& name = "archive.tar.gz") const;

    /** Runs dfs-open with the key on an archive, within 256 MiB of memory. */
    Finished Open(const std::string& archive, const std::vector<std::string>& words = {}) const;

private:
    TemporaryFolder m_folder;
};
