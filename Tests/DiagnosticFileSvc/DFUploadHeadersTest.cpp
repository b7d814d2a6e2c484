#include "DFUploadHeaders.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

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
