#pragma once

#include "TemporaryFolder.h"

#include <string>
#include <vector>

/** One member of a tar file, whatever its name and kind. */
struct Member
{
    std::string name;
    std::string content = {};
    char kind = 'f'; //!< f file, h hard link, l symbolic link, d folder, c character device
    std::string target = {};
};

/** Makes archives as the device does, with the same programs, and such as the device would never make. */
class ArchiveMaker
{
public:
    /** Makes a key and its certificate. */
    ArchiveMaker();

    std::string KeyPath() const { return m_folder.Path() + "/key.pem"; }
    std::string Path(const std::string& name) const { return m_folder.Path() + "/" + name; }

    /** What the shell command makes of the input; CERT and KEY in it stand for the paths. */
    std::string Filter(std::string command, const std::string& input) const;

    std::string Gzip(const std::string& content) const { return Filter("gzip -nc", content); }
    std::string Encrypt(const std::string& content) const;
    std::string Seal(const std::string& plain) const { return Gzip(Encrypt(Gzip(plain))); }

    /** A manifest in the device's form: of each pair the file name and the sub-type. */
    static std::string Manifest(const std::vector<std::pair<std::string, std::string>>& items);

    /** Writes the members as a .tar.gz, and returns its path. */
    std::string Write(const std::vector<Member>& members) const;

private:
    TemporaryFolder m_folder;
};

/** What a run of dfs-open gave. */
struct OpenResult
{
    int status;
    std::string out;
    std::string err;
};

/** Runs dfs-open's command line in this process. */
OpenResult DfsOpenRun(const std::vector<std::string>& arguments);
