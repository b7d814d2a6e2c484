#pragma once

#include <set>
#include <string>

/** A fresh folder that is removed, with all in it, at the end of its scope. */
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }

    /** Writes a file of that name into the folder and returns its full path. */
    std::string Write(const std::string& name, const std::string& content) const;

private:
    std::string m_path;
};

/** The whole content of a file; the running test fails when it cannot be read. */
std::string ReadWholeFile(const std::string& path);

/** Writes a file, making its folders; the running test fails when that is not possible. */
void WriteWholeFile(const std::string& path, const std::string& content);

/** The names of what is in a folder. */
std::set<std::string> NamesIn(const std::string& folder);
