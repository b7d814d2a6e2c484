#pragma once

#include "FileDescriptor.h"
#include "Manifest.h"

#include <cstdint>
#include <iosfwd>
#include <string>

namespace DfsOpen
{

/** Where the plain content of items goes, one item after another. One thread at a time. */
class PlainOutput
{
public:
    virtual ~PlainOutput() = default;

    /** Whether the item is asked for; one that is not stays unopened. */
    virtual bool Wants(const ManifestEntry& entry) = 0;

    /** Begins an item whose file name is that of a plain file; false when that is not possible, as Problem() tells. */
    virtual bool Begin(const ManifestEntry& entry) = 0;

    /** Takes the item's next bytes; false when that is not possible, as Problem() tells. */
    virtual bool Write(const char* data, std::size_t size) = 0;

    /** Ends the item, which was whole or not; false when its content is not safely stored, as Problem() tells. */
    virtual bool End(bool whole) = 0;

    /** What went wrong last, in words for the user. */
    const std::string& Problem() const { return m_problem; }

protected:
    bool Fail(const std::string& problem)
    {
        m_problem = problem;
        return false;
    }

private:
    std::string m_problem;
};

/** Opens every item only to see whether it is whole. */
class NoOutput : public PlainOutput
{
public:
    bool Wants(const ManifestEntry& /*entry*/) override { return true; }
    bool Begin(const ManifestEntry& /*entry*/) override { return true; }
    bool Write(const char* /*data*/, std::size_t /*size*/) override { return true; }
    bool End(bool /*whole*/) override { return true; }
};

/** Writes the items of one sub-type to a stream, one after another. */
class StreamOutput : public PlainOutput
{
public:
    StreamOutput(std::string subType, std::ostream& stream);

    bool Wants(const ManifestEntry& entry) override { return entry.subType == m_subType; }
    bool Begin(const ManifestEntry& entry) override;
    bool Write(const char* data, std::size_t size) override;
    bool End(bool whole) override;

private:
    std::string m_subType;
    std::ostream& m_stream;
};

/**
 * Writes every item to a file of its name in a folder. A file that is there already is never touched, nor is anything
 * outside the folder. What could be read of an item that is not whole is kept under its name followed by ".damaged".
 */
class FolderOutput : public PlainOutput
{
public:
    /**
     * Makes the folder if there is none; its parent must exist.
     *
     * @throws std::runtime_error with a text for the user when that is not possible
     */
    explicit FolderOutput(const std::string& path);

    bool Wants(const ManifestEntry& /*entry*/) override { return true; }
    bool Begin(const ManifestEntry& entry) override;
    bool Write(const char* data, std::size_t size) override;
    bool End(bool whole) override;

private:
    FileDescriptor m_folder;
    FileDescriptor m_file;
    std::string m_name;
    std::uint64_t m_written = 0;
};

} // namespace DfsOpen
