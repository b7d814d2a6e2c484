#pragma once

#include <stdexcept>
#include <string>

/**
 * The text form of one message in non-volatile storage.
 *
 * Operations of one process on the same file wait for each other. Other processes see either the old or the new
 * content, never a part of one. Thread-safe.
 */
class ProtoPersistenceIF
{
public:
    /** What failed and, in the words of strerror(3), why. */
    class ProtoPersistenceException : public std::runtime_error
    {
    public:
        using std::runtime_error::runtime_error;
    };

    virtual ~ProtoPersistenceIF() = default;

    /**
     * Replaces the content. When it returns, the new content is on the storage medium. When it throws, the old content
     * is untouched and nothing else is left behind, with one exception: the medium may fail in the very last step,
     * after the new content took its place. Missing folders are made, for their owner only, as is the file.
     *
     * @throws ProtoPersistenceException
     *
     * Blocks.
     */
    virtual void Store(const std::string& text) = 0;

    /** The content. @throws ProtoPersistenceException for none, more than 16 MiB, or what cannot be read */
    virtual std::string Load() = 0;

    /** Removes the content; there may be none. @throws ProtoPersistenceException when it cannot be removed */
    virtual void Remove() = 0;
};
