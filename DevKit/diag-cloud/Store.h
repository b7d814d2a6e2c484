#pragma once

#include "FileDescriptor.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace DiagCloud
{

/**
 * A file that appears in the store under its name only once it is complete, in place of an earlier one of that name.
 * Until then it has another name, and if it is not completed it is removed. One thread at a time.
 */
class IncomingFile
{
public:
    /** @throws std::system_error when no file can be made in the folder */
    IncomingFile(const std::string& folder, const std::string& name);
    ~IncomingFile();
    IncomingFile(const IncomingFile&) = delete;
    IncomingFile& operator=(const IncomingFile&) = delete;

    /** Appends. After a failure the rest is ignored and Complete fails. */
    void Write(const char* data, std::size_t size);

    /** Gives the file its name, and returns the path. @throws std::system_error when it could not be written whole */
    std::string Complete();

private:
    std::string m_path;
    std::string m_temporaryPath;
    FileDescriptor m_file;
    int m_error = 0;
};

/** The folder in which the cloud keeps what it is sent: ID-metadata.json and ID.tar.gz. Any thread may call. */
class Store
{
public:
    /** Makes the folder if there is none. @throws std::system_error when that is not possible */
    explicit Store(std::string folder);

    /** Stores a metadata record and returns the id of the archive that it announces. @throws std::system_error */
    std::string AddMetadata(const std::string& text);

    /** The metadata record that announced the archive; none when nothing did. */
    std::optional<std::string> FindMetadata(const std::string& id) const;

    /** Begins to store an archive. @throws std::system_error */
    std::unique_ptr<IncomingFile> AddArchive(const std::string& id);

private:
    std::string m_folder;
};

} // namespace DiagCloud
