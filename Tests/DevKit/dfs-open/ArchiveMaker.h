#pragma once

#include <archive_entry.h>

#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "TemporaryFolder.h"

/** One member of a tar file, whatever its name and type. */
struct Member
{
    std::string name;
    std::string content = {};
    unsigned type = AE_IFREG;
    std::string target = {}; //!< Of a symbolic link; of a regular file: a hard link to it.
};

/** Makes archives as the device does, with the same programs, and such as the device would never make. */
class ArchiveMaker
{
public:
    /** Makes a key, "key.pem", and its certificate, "certificate.pem". */
    ArchiveMaker();

    std::string Path(const std::string& name) const { return m_folder.Path() + "/" + name; }

    /** What the shell command, run beside the key, makes of the input. */
    std::string Filter(const std::string& command, const std::string& input) const;

    std::string Gzip(const std::string& content) const { return Filter("gzip -nc", content); }
    std::string Encrypt(const std::string& content) const;
    std::string Seal(const std::string& plain) const { return Gzip(Encrypt(Gzip(plain))); }

    /** A manifest as the device writes it: of each pair the file name and the sub-type. */
    static Member Manifest(const std::vector<std::pair<std::string, std::string>>& items);

    /** Writes the members as a .tar.gz, and returns its path. */
    std::string Write(const std::vector<Member>& members) const;

    /** Runs dfs-open with the key on an archive. */
    Finished Open(const std::string& archive, const std::vector<std::string>& words = {}) const;

private:
    TemporaryFolder m_folder;
};
