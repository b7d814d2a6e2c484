#pragma once

#include "CloudServer.h"
#include "UploadSysInfo.pb.h"

#include <string>
#include <vector>

/** The cloud's stand-in on the port that the service is built for, with what shall happen to its requests. */
DiagCloud::CloudSettings CloudOnItsPort(std::vector<DiagCloud::Outcome> script = {});

/** What has become of an upload in the cloud. */
struct ArrivedUpload
{
    std::string metadata;
    std::string archivePath;
    DFSCommonPB::UploadManifest manifest;

    /** Sub-types of the manifest, in order. */
    std::vector<std::string> SubTypes() const;

    /** The plain content of the items of that sub-type; the running test fails when they are not whole. */
    std::string Content(const std::string& subType) const;
};

/** The latest archive that has arrived; the running test fails when there is none. */
ArrivedUpload LatestUpload(const DiagCloud::CloudServer& cloud);
