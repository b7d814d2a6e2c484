#include "Upload.h"

#include "ChildProcess.h"
#include "ProtoToMarkup.h"

#include <gtest/gtest.h>

DiagCloud::CloudSettings CloudOnItsPort(std::vector<DiagCloud::Outcome> script)
{
    DiagCloud::CloudSettings settings;
    settings.port = 8888;
    settings.storeFolder = "/tmp/cloud";
    settings.script = std::move(script);
    return settings;
}

std::vector<std::string> ArrivedUpload::SubTypes() const
{
    std::vector<std::string> subTypes;
    for (const auto& item : manifest.item()) {
        subTypes.push_back(item.subtype());
    }
    return subTypes;
}

std::string ArrivedUpload::Content(const std::string& subType) const
{
    const Finished opened = RunProgram({Program("dfs-open"), archivePath, "--key", DEVELOPMENT_KEY, "--cat", subType});
    EXPECT_EQ(opened.status, 0) << opened.output;
    return opened.output;
}

ArrivedUpload LatestUpload(const DiagCloud::CloudServer& cloud)
{
    ArrivedUpload upload;
    for (const auto& request : cloud.Requests()) {
        if (request.kind == DiagCloud::RequestKind::Metadata) {
            upload.metadata = request.body;
        } else if (!request.archivePath.empty()) {
            upload.archivePath = request.archivePath;
        }
    }
    EXPECT_FALSE(upload.archivePath.empty()) << "no archive has arrived";
    if (!upload.archivePath.empty()) {
        const Finished manifest = RunProgram({"tar", "-xzOf", upload.archivePath, "dfs_uploadmanifest.json"});
        EXPECT_EQ(manifest.status, 0) << manifest.output;
        ProtoToMarkup::FromJson(manifest.output, upload.manifest);
    }
    return upload;
}
