#pragma once

#include "FileDescriptor.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace DiagCloud
{

/**
 * A file that gets its name once it is complete, in place of an earlier one of that name. A file that is not completed
 * is removed. Not thread-safe.
 */
class IncomingFile
{
public:
    /** @throws std::system_error when no file can be made in the folder */
    IncomingFile(const std::string& folder, const std::string& name);
    ~IncomingFile();

    /** Appends. @throws std::system_error */
    void Write(std::string_view bytes);

    /** Gives the file its name. @return the path @throws std::system_error when it could not be written whole */
    std::string Complete();

private:
    std::string m_path;
    std::string m_temporaryPath;
    FileDescriptor m_file;
};

/** The folder with what the cloud was sent: ID-metadata.json and ID.tar.gz. Not thread-safe. */
class Store
{
public:
    /** Makes the folder if there is none. @throws std::system_error */
    explicit Store(std::string folder);

    /** Stores a metadata record. @return the id of the archive that it announces @throws std::system_error */
    std::string AddMetadata(const std::string& text);

    /** The metadata record that announced the archive; none when nothing did. */
    std::optional<std::string> FindMetadata(const std::string& id) const;

    /** Begins to store an archive. @throws std::system_error */
    std::unique_ptr<IncomingFile> AddArchive(const std::string& id);

private:
    std::string m_folder;
};

} // namespace DiagCloud
