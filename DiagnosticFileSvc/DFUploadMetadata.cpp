#include "DFUploadMetadata.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "MfgData.h"
#include "NameValueFile.h"
#include "ProtoToMarkup.h"
#include "WallClock.h"

#include <unistd.h>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);

// The manufacturing data of that name.
std::string ManufacturingData(const char* name, const char* missing)
{
    const auto value = MfgData::Get(name);
    if (!value) {
        LogLine(s_log, LogLevel::Error, "LoadMetadata", "LoadMetadata", missing);
        // Without static destructors: the other tasks still use what those destroy.
        _exit(1);
    }
    return *value;
}

std::string SoftwareVersion()
{
    const NameValueFile version(kVersionFile);
    return version.Get("short", "1.0.67") + "-" + version.Get("build_number", kFallbackIdentifier) + "+" +
           version.Get("abbrev_commit", kFallbackVersion);
}
} // namespace

ProductIdentity LoadMetadata()
{
    const LogScope scope(s_log, __func__);
    return {ManufacturingData("productName", " Fatal Error: No Product Name "),
            ManufacturingData("productType", " Fatal Error: No Product Type "),
            ManufacturingData("guid", " Fatal Error: No Product Id ")};
}

std::string BuildMetadataPayload(const ProductIdentity& product, const std::string& deviceName,
                                 const DFSCommonPB::UploadTypes& items, std::int64_t now)
{
    const LogScope scope(s_log, __func__);
    const std::string softwareVersion = SoftwareVersion();
    LogProgress(s_log, __func__, "upload_sys_logs software version: ", softwareVersion);

    DFSCommonPB::MetadataPayload payload;
    payload.set_productname(deviceName);
    payload.set_productid(product.id);
    payload.set_producttype(product.type);
    payload.set_softwareversion(softwareVersion);
    payload.set_filetype(kDiagnosticLabel);
    payload.set_uploadtimestamp(WallClock::Text("%FT%TZ", now));
    *payload.mutable_uploadeditems() = items.uploaditems();

    // The record is the inner object of {"MetadataPayload":{...}}.
    static const std::string prefix = "{\"MetadataPayload\":";
    std::string json = ProtoToMarkup::ToJson(payload, true, false, false);
    const std::size_t start = json.find(prefix);
    if (start != std::string::npos) {
        json.erase(start, prefix.size());
        json.pop_back();
    }
    LogProgress(s_log, __func__, "payload: ", json);
    return json;
}
} // namespace DiagnosticFileSvc
