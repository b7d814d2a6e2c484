#include "DFUploadMetadata.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(DFUploadMetadata, HoldsProductVersionTimeAndItems)
{
    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): there is no other thread
    DFSCommonPB::UploadTypes items;
    items.add_uploaditems()->set_type(DFSCommonPB::TOP);
    items.mutable_uploaditems(0)->set_subtype("top \"quoted\"");
    const std::pair<const char*, std::string> cases[] = {
        {R"({"short": "2.1", "build_number": 77, "abbrev_commit": "abc"})", "2.1-77+abc"},
        {R"({"short": "2.1"})", "2.1-99999+0.000.000"},
        {"", "1.0.67-99999+0.000.000"},
    };
    for (const auto& [versionFile, version] : cases) {
        WriteWholeFile("/opt/Vantor/etc/VantorVersion.json", versionFile);
        EXPECT_EQ(DiagnosticFileSvc::BuildMetadataPayload({"marketing", "a type", "a guid"}, "Kitchen \xc3\xa9", items,
                                                          1794711845),
                  "{\"productName\":\"Kitchen \xc3\xa9\",\"productId\":\"a guid\",\"productType\":\"a type\","
                  "\"softwareVersion\":\"" +
                      version +
                      R"(","fileType":"VRD9 Diagnostics","uploadTimeStamp":"2026-11-15T03:04:05Z",)"
                      R"("uploadedItems":[{"type":"TOP","subType":"top \"quoted\""}]})");
    }
}
