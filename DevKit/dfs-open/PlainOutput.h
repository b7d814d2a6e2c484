#pragma once

#include "FileDescriptor.h"
#include "Manifest.h"

#include <iosfwd>
#include <string>
#include <string_view>

namespace DfsOpen
{

/** Takes the plain content of items, one after another. This one keeps nothing of it. Not thread-safe. */
class PlainOutput
{
public:
    virtual ~PlainOutput() = default;

    /** Whether the item is to be opened. */
    virtual bool Wants(const ManifestEntry& /*entry*/) const { return true; }

    /** Begins an item; its name is that of a plain file. @throws Fault when that is not possible */
    virtual void Begin(const ManifestEntry& /*entry*/) {}

    /** Takes the item's next bytes. @throws Fault when that is not possible */
    virtual void Write(std::string_view /*bytes*/) {}

    /** Ends the item. @throws Fault when its content is not safely stored */
    virtual void End(bool /*isWhole*/) {}
};

/** Writes the items of one sub-type to a stream, one after another. */
class StreamOutput : public PlainOutput
{
public:
    StreamOutput(std::string subType, std::ostream& stream);

    bool Wants(const ManifestEntry& entry) const override { return entry.subType == m_subType; }
    void Write(std::string_view bytes) override;
    void End(bool isWhole) override;

private:
    std::string m_subType;
    std::ostream& m_stream;
};

/**
 * Writes every item to a file of its name in a folder, and touches no file that is there already. What could be read of
 * an item that is not whole is kept under its name followed by ".damaged".
 */
class FolderOutput : public PlainOutput
{
public:
    /** Makes the folder if there is none. @throws std::invalid_argument when that is not possible */
    explicit FolderOutput(const std::string& path);

    void Begin(const ManifestEntry& entry) override;
    void Write(std::string_view bytes) override;
    void End(bool isWhole) override;

private:
    FileDescriptor m_folder;
    FileDescriptor m_file;
    std::string m_name;
    bool m_isEmpty = true;
};

} // namespace DfsOpen
