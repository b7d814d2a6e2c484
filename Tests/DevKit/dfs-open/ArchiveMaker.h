#pragma once

#include "ChildProcess.h"
#include "Sanitized.h"
#include "TemporaryFolder.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

/** One member of a tar file, whatever its name and type. */
struct Member
{
    std::string name;
    std::string content = {};
    unsigned type = AE_IFREG;
    std::string target = {}; ///< Of a symbolic link; of a regular file: a hard link to it.
};

/** Makes archives as the device does, with the same programs, and such as the device would never make. */
class ArchiveMaker
{
public:
    /** Makes a key, "key.pem", of a kind as `openssl req -newkey` takes it, and its certificate, "certificate.pem". */
    explicit ArchiveMaker(const std::string& kind = "rsa:2048")
    {
        Filter("openssl req -x509 -newkey " + kind + " -nodes -keyout key.pem -out certificate.pem -subj /CN=device",
               "");
    }

    std::string Path(const std::string& name) const { return m_folder.Path() + "/" + name; }

    /** What the shell command, run beside the key, makes of the input. */
    std::string Filter(const std::string& command, const std::string& input) const
    {
        m_folder.Write("input", input);
        const Finished run = RunProgram({"sh", "-c", "cd " + m_folder.Path() + " && exec <input " + command});
        EXPECT_EQ(run.status, 0) << command << "\n" << run.output;
        return run.output;
    }

    std::string Gzip(const std::string& content) const { return Filter("gzip -nc", content); }
    std::string Encrypt(const std::string& content, const std::string& cipher = "-aes-256-cbc",
                        const std::string& certificates = "certificate.pem") const
    {
        return Filter("openssl cms -encrypt -binary -stream -outform DER " + cipher + " " + certificates, content);
    }
    std::string Seal(const std::string& plain) const { return Gzip(Encrypt(Gzip(plain))); }

    /** A manifest as the device writes it: of each pair the file name and the sub-type. */
    static Member Manifest(const std::vector<std::pair<std::string, std::string>>& items)
    {
        std::string list;
        for (const auto& [file, subType] : items) {
            list.append(list.empty() ? "" : ",").append(R"({"filename":")").append(file);
            list.append(R"(","type":"TOP","subType":")").append(subType).append(R"("})");
        }
        return {"dfs_uploadmanifest.json", R"({"UploadManifest":{"item":[)" + list + R"(],"version":1}})"};
    }

    /** Writes the members as a .tar.gz, and returns its path. */
    std::string Write(const std::vector<Member>& members, const std::string& name = "archive.tar.gz") const
    {
        archive* writer = archive_write_new();
        archive_write_add_filter_gzip(writer);
        archive_write_set_format_pax_restricted(writer);
        archive_write_open_filename(writer, Path(name).c_str());
        for (const Member& member : members) {
            archive_entry* entry = archive_entry_new();
            archive_entry_set_pathname(entry, member.name.c_str());
            archive_entry_set_mode(entry, member.type | 0600U);
            if (!member.target.empty()) {
                const auto setLink = member.type == AE_IFLNK ? archive_entry_set_symlink : archive_entry_set_hardlink;
                setLink(entry, member.target.c_str());
            }
            archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
            EXPECT_EQ(archive_write_header(writer, entry), ARCHIVE_OK) << archive_error_string(writer);
            archive_write_data(writer, member.content.data(), member.content.size());
            archive_entry_free(entry);
        }
        EXPECT_EQ(archive_write_free(writer), ARCHIVE_OK);
        return Path(name);
    }

    /** Runs dfs-open with the key on an archive, within 256 MiB of memory. */
    Finished Open(const std::string& archive, const std::vector<std::string>& words = {}) const
    {
        // A sanitizer takes address space without using it.
        const std::string limit = kIsSanitized ? "exec" : "ulimit -v 262144; exec";
        std::vector<std::string> command = {"sh",    "-c",    limit + " \"$@\"", "limited", Program("dfs-open"),
                                            archive, "--key", Path("key.pem")};
        command.insert(command.end(), words.begin(), words.end());
        return RunProgram(command);
    }

private:
    TemporaryFolder m_folder;
};
