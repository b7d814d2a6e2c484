#include "ArchiveMaker.h"

#include "DfsOpen.h"

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

ArchiveMaker::ArchiveMaker()
{
    Filter("openssl req -x509 -newkey rsa:2048 -nodes -keyout KEY -out CERT -subj /CN=device -days 2 2>/dev/null", "");
}

std::string ArchiveMaker::Filter(std::string command, const std::string& input) const
{
    for (const auto& [word, name] : {std::pair{"CERT", "/certificate.pem"}, std::pair{"KEY", "/key.pem"}}) {
        for (std::size_t at = command.find(word); at != std::string::npos; at = command.find(word, at)) {
            command.replace(at, std::string(word).size(), m_folder.Path() + name);
        }
    }
    const std::string in = m_folder.Write("filter.in", input);
    const std::string out = m_folder.Path() + "/filter.out";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): tests run it in one thread
    EXPECT_EQ(0, std::system(("( " + command + " ) < " + in + " > " + out).c_str())) << command;
    return ReadWholeFile(out);
}

std::string ArchiveMaker::Encrypt(const std::string& content) const
{
    return Filter("openssl cms -encrypt -binary -stream -outform DER -aes-256-cbc CERT", content);
}

std::string ArchiveMaker::Manifest(const std::vector<std::pair<std::string, std::string>>& items)
{
    std::string list;
    for (const auto& [file, subType] : items) {
        list += list.empty() ? "" : ",";
        list.append(R"({"filename":")")
            .append(file)
            .append(R"(","type":"TOP","subType":")")
            .append(subType)
            .append(R"("})");
    }
    return R"({"UploadManifest":{"item":[)" + list + R"(],"version":1}})";
}

std::string ArchiveMaker::Write(const std::vector<Member>& members) const
{
    std::string path = m_folder.Path() + "/archive.tar.gz";
    archive* writer = archive_write_new();
    archive_write_add_filter_gzip(writer);
    archive_write_set_format_pax_restricted(writer);
    archive_write_open_filename(writer, path.c_str());
    for (const Member& member : members) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.name.c_str());
        archive_entry_set_mode(entry, 0600);
        archive_entry_set_filetype(entry, member.kind == 'l'   ? AE_IFLNK
                                          : member.kind == 'd' ? AE_IFDIR
                                          : member.kind == 'c' ? AE_IFCHR
                                                               : AE_IFREG);
        if (member.kind == 'l') {
            archive_entry_set_symlink(entry, member.target.c_str());
        } else if (member.kind == 'h') {
            archive_entry_set_hardlink(entry, member.target.c_str());
        }
        archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
        EXPECT_EQ(ARCHIVE_OK, archive_write_header(writer, entry)) << archive_error_string(writer);
        archive_write_data(writer, member.content.data(), member.content.size());
        archive_entry_free(entry);
    }
    EXPECT_EQ(ARCHIVE_OK, archive_write_close(writer));
    archive_write_free(writer);
    return path;
}

OpenResult DfsOpenRun(const std::vector<std::string>& arguments)
{
    std::ostringstream out;
    std::ostringstream err;
    const DfsOpen::ExitStatus status = DfsOpen::Run(DfsOpen::ParseOptions(arguments), out, err);
    return {static_cast<int>(status), out.str(), err.str()};
}
