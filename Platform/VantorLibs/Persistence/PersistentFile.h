#pragma once

#include "FileDescriptor.h"
#include "ProtoPersistenceIF.h"

#include <string>
#include <vector>

/** A file below /mnt/nv/ that is replaced as a whole. */
class PersistentFile : public ProtoPersistenceIF
{
public:
    /** Both hold plain names: no separators, no "..". */
    PersistentFile(std::vector<std::string> folders, std::string name);

    void Store(const std::string& text) override;
    std::string Load() override;
    void Remove() override;

private:
    enum class MissingFolders
    {
        Fail,
        Make
    };
    FileDescriptor OpenFolder(MissingFolders missing) const;
    bool WriteTemporary(int folder, const std::string& temporaryName, const std::string& text) const;
    [[noreturn]] void ThrowErrno(const char* what) const;

    const std::vector<std::string> m_folders;
    const std::string m_name;
    std::string m_path;
};
