#include "PersistentFile.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace
{
constexpr char kRoot[] = "/mnt/nv";

// The temporary name is a fixed one, so that power cuts leave at most one such file behind; hence one writer at a time.
std::mutex s_writerMutex;

bool SyncFolder(const FileDescriptor& folder)
{
    // fsync(2): EINVAL is the answer of file systems that keep their folders in order by themselves.
    return ::fsync(folder.Get()) == 0 || errno == EINVAL;
}

// False, with errno set, when the folder is not there afterwards.
bool MakeFolder(const FileDescriptor& parent, const std::string& name)
{
    if (::mkdirat(parent.Get(), name.c_str(), 0700) != 0) {
        return errno == EEXIST;
    }
    // The umask may have narrowed the mode that mkdir was given.
    return ::fchmodat(parent.Get(), name.c_str(), 0700, 0) == 0 && SyncFolder(parent);
}
} // namespace

PersistentFile::PersistentFile(std::vector<std::string> folders, std::string name)
    : m_folders(std::move(folders)), m_name(std::move(name)), m_path(kRoot)
{
    for (const std::string& folder : m_folders) {
        m_path += "/" + folder;
    }
    m_path += "/" + m_name;
}

void PersistentFile::Store(const std::string& text)
{
    const std::lock_guard lock(s_writerMutex);
    const FileDescriptor folder = OpenFolder(MissingFolders::Make);
    if (!folder) {
        ThrowErrno("cannot make the folder of");
    }
    const std::string temporaryName = m_name + ".tmp";
    if (!WriteTemporary(folder.Get(), temporaryName, text) ||
        ::renameat(folder.Get(), temporaryName.c_str(), folder.Get(), m_name.c_str()) != 0) {
        const int error = errno;
        ::unlinkat(folder.Get(), temporaryName.c_str(), 0);
        errno = error;
        ThrowErrno("cannot write");
    }
    if (!SyncFolder(folder)) {
        ThrowErrno("cannot bring to the storage medium");
    }
}

std::string PersistentFile::Load()
{
    const FileDescriptor folder = OpenFolder(MissingFolders::Fail);
    const FileDescriptor file(folder ? ::openat(folder.Get(), m_name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : -1);
    std::string text;
    if (!file || !file.ReadAll(text)) {
        ThrowErrno("cannot read");
    }
    return text;
}

void PersistentFile::Remove()
{
    const std::lock_guard lock(s_writerMutex);
    const FileDescriptor folder = OpenFolder(MissingFolders::Fail);
    if (!folder || ::unlinkat(folder.Get(), m_name.c_str(), 0) != 0) {
        if (errno == ENOENT) {
            return;
        }
        ThrowErrno("cannot remove");
    }
    if (!SyncFolder(folder)) {
        ThrowErrno("cannot bring to the storage medium the removal of");
    }
}

FileDescriptor PersistentFile::OpenFolder(MissingFolders missing) const
{
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    // Not made when missing: without it the storage is not mounted, and what is written would be lost.
    FileDescriptor folder(::open(kRoot, kFlags));
    for (auto name = m_folders.begin(); folder && name != m_folders.end(); ++name) {
        FileDescriptor next(::openat(folder.Get(), name->c_str(), kFlags));
        if (!next && missing == MissingFolders::Make && MakeFolder(folder, *name)) {
            next = FileDescriptor(::openat(folder.Get(), name->c_str(), kFlags));
        }
        folder = std::move(next);
    }
    return folder;
}

bool PersistentFile::WriteTemporary(int folder, const std::string& temporaryName, const std::string& text) const
{
    ::unlinkat(folder, temporaryName.c_str(), 0);
    const FileDescriptor file(
        ::openat(folder, temporaryName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file && ::fchmod(file.Get(), 0600) == 0 && file.WriteAll(text) && ::fsync(file.Get()) == 0;
}

void PersistentFile::ThrowErrno(const char* what) const
{
    const std::string reason = std::generic_category().message(errno);
    throw ProtoPersistenceException(std::string(what) + " " + m_path + ": " + reason);
}
