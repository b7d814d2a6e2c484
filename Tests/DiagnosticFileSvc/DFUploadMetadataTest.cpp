#include "DFUploadHeaders.h"
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

static std::string TokenFile(const std::string& token)
{
    return R"({"access_token":")" + token + R"(","expires_in":3600,"token_type":"bearer","refresh_token":"r"})";
}

TEST(DFUploadHeaders, CarryTheTokenThatTheDeviceHolds_WhateverItsFilesHold)
{
    const std::string jwt = "eyJhbGciOiJFUzI1NiJ9.eyJhIjoxfQ.c2ln";
    JwtUtils::QuillaneTokens tokens;
    const auto inHeaders = [&tokens](const std::string& tokenFile) {
        WriteWholeFile("/mnt/nv/product-persistence/quillane_jwt.json", tokenFile);
        return DiagnosticFileSvc::BuildMetadataPostHeader(tokens).at("x-product-token");
    };
    const std::string unusable[] = {"", "{\"access_token\"", TokenFile(std::string(32768, 'a'))};
    for (const char* timeStamp : {"1999999999", "soon", "9223372036854775807"}) {
        WriteWholeFile("/mnt/nv/product-persistence/quillane_jwt.timestamp", timeStamp);
        for (const std::string& token : {jwt, std::string("no JWT"), std::string(32600, 'a')}) {
            for (const std::string& tokenFile : unusable) {
                EXPECT_EQ(inHeaders(TokenFile(token)), token);
                EXPECT_EQ(inHeaders(tokenFile), "") << tokenFile;
            }
        }
    }
}
