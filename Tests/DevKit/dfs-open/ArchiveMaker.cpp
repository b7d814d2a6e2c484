#include "ArchiveMaker.h"

#include "Sanitized.h"

#include <archive.h>
#include <gtest/gtest.h>

ArchiveMaker::ArchiveMaker(const std::string& kind)
{
    Filter("openssl req -x509 -newkey " + kind + " -nodes -keyout key.pem -out certificate.pem -subj /CN=device", "");
}

std::string ArchiveMaker::Filter(const std::string& command, const std::string& input) const
{
    m_folder.Write("input", input);
    const Finished run = RunProgram({"sh", "-c", "cd " + m_folder.Path() + " && exec <input " + command});
    EXPECT_EQ(run.status, 0) << command << "\n" << run.output;
    return run.output;
}

std::string ArchiveMaker::Encrypt(const std::string& content, const std::string& cipher,
                                  const std::string& certificates) const
{
    return Filter("openssl cms -encrypt -binary -stream -outform DER " + cipher + " " + certificates, content);
}

Member ArchiveMaker::Manifest(const std::vector<std::pair<std::string, std::string>>& items)
{
    std::string list;
    for (const auto& [file, subType] : items) {
        list.append(list.empty() ? "" : ",").append(R"({"filename":")").append(file);
        list.append(R"(","type":"TOP","subType":")").append(subType).append(R"("})");
    }
    return {"dfs_uploadmanifest.json", R"({"UploadManifest":{"item":[)" + list + R"(],"version":1}})"};
}

std::string ArchiveMaker::Write(const std::vector<Member>& members, const std::string& name) const
{
    std::string path = Path(name);
    archive* writer = archive_write_new();
    archive_write_add_filter_gzip(writer);
    archive_write_set_format_pax_restricted(writer);
    archive_write_open_filename(writer, path.c_str());
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
    return path;
}

Finished ArchiveMaker::Open(const std::string& archive, const std::vector<std::string>& words) const
{
    // A sanitizer takes address space without using it.
    const std::string limit = kIsSanitized ? "exec" : "ulimit -v 262144; exec";
    std::vector<std::string> command = {"sh",    "-c",    limit + " \"$@\"", "limited", Program("dfs-open"),
                                        archive, "--key", Path("key.pem")};
    command.insert(command.end(), words.begin(), words.end());
    return RunProgram(command);
}
