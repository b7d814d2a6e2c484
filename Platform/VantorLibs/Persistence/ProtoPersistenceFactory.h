#pragma once

#include "ProtoPersistenceIF.h"

#include <memory>
#include <string>

/** Makes the objects through which services keep messages in non-volatile storage. */
class ProtoPersistenceFactory
{
public:
    /**
     * The object for one file. No file is touched yet.
     *
     * @param fileName  the name of the file, without folders
     * @param directory its folder, relative to /mnt/nv/, with or without a "/" at its end; empty for /mnt/nv/ itself
     * @throws ProtoPersistenceIF::ProtoPersistenceException when the file would not lie below /mnt/nv/: an absolute
     *         folder, a "." or ".." in either, an empty file name or one with a "/"
     *
     * Thread-safe.
     */
    static std::shared_ptr<ProtoPersistenceIF> Create(const std::string& fileName, const std::string& directory);
};
