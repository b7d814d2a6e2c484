#include "Key.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "CapturedLog.h"
#include "PublishedTokens.h"
#include "StdioFile.h"
#include "TokenMaker.h"

using CryptoKey::DigestType;
using CryptoKey::Key;
using CryptoKey::KeyType;
using CryptoKey::PublicKey;

TEST(PublicKey, ComesAndGoesAsText)
{
    for (const PublishedToken& token : PublishedTokens()) {
        PublicKey key;
        EXPECT_TRUE(key.LoadString("a key:\n" + token.pem)) << token.source;
        EXPECT_EQ(key.ToString(), token.pem);
        EXPECT_TRUE(key == token.key && key != PublicKey() && PublicKey() != key);
        EXPECT_EQ(key == PublishedTokens()[0].key, &token == &PublishedTokens()[0]) << token.source;
    }
    EXPECT_TRUE(PublicKey() == PublicKey());
}

TEST(PublicKey, RefusesWhatIsNoKey_AndAsksForNoPassword)
{
    PublicKey key = PublishedTokens()[0].key;
    const std::string pem = PublishedTokens()[0].pem;
    std::string encrypted = pem;
    encrypted.insert(pem.find('\n'),
                     "\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n");
    const CapturedLog log;
    for (const std::string& text : {std::string(), pem.substr(0, 200), encrypted}) {
        EXPECT_FALSE(key.LoadString(text));
        EXPECT_EQ(key.GetKeyType(), KeyType::RSA) << "a text that is no key replaces none";
    }
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("LoadString: OpenSSL: "), std::string::npos);
    EXPECT_EQ(lines.find("Enter"), std::string::npos) << lines;

    // RFC 8410 section 10.1: a key it is, but of no use.
    EXPECT_TRUE(key.LoadString(Pem("MCowBQYDK2VwAyEAGb9ECWmEzf6FQbrBZ9w7lshQhqowtrbLDFw4rXAxZuE=", {})));
    EXPECT_EQ(key.GetKeyType(), KeyType::INVALID);
    EXPECT_FALSE(key.VerifySignature("message", "signature", DigestType::DEFAULT));
    EXPECT_EQ(key.ToString(), "");
}

TEST(Key, ChoosesTheDigest)
{
    const Key none, rsa = PublishedTokens()[0].key, p256 = PublishedTokens()[1].key, p384 = MakeKey(NID_secp384r1);
    const PublicKey p521(MakeKey(NID_secp521r1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    const std::tuple<Key, DigestType, int> cases[] = {
        {rsa, DigestType::SHA256, NID_sha256},   {p256, DigestType::SHA384, NID_sha384},
        {rsa, DigestType::SHA512, NID_sha512},   {p521, DigestType::INVALID, NID_sha256},
        {rsa, DigestType::DEFAULT, NID_sha256},  {p256, DigestType::DEFAULT, NID_sha256},
        {p384, DigestType::DEFAULT, NID_sha384}, {p521, DigestType::DEFAULT, NID_sha512},
    };
    for (const auto& [key, type, nid] : cases) {
        EXPECT_EQ(EVP_MD_type(key.GetMessageDigest(type)), nid) << ToText(key.GetKeyType()) << ' ' << ToText(type);
    }
    EXPECT_EQ(EVP_MD_type(rsa.GetDefaultMessageDigestECDSA()), NID_sha256);
    EXPECT_EQ(EVP_MD_type(none.GetDefaultMessageDigestECDSA()), NID_sha256);
}

TEST(Key, ComesFromAFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/key.pem";
    const std::string text = PublishedTokens()[0].pem + std::string(5000, '\n') + '\0';
    EXPECT_TRUE(Key::WriteFile(path, text));
    EXPECT_EQ(Key::ReadFile(path), text);
    EXPECT_TRUE(Key(path) == PublishedTokens()[0].key);
    std::filesystem::resize_file(path, JwtUtils::kMaxFileSize + 1);
    const CapturedLog log;
    EXPECT_EQ(Key("/none").GetKeyType(), KeyType::INVALID);
    EXPECT_EQ(Key::ReadFile(path), "");
    EXPECT_FALSE(Key::WriteFile("/none/key.pem", text) || Key::WriteFile("/dev/full", "text"));
    const std::vector<std::string> failures = {
        "2 read file '/none': No such file or directory", "2 read file '" + path + "': File too large",
        "2 write file '/none/key.pem': No such file or directory", "2 write file '/dev/full': No space left on device"};
    EXPECT_EQ(CapturedLog::LinesOf("CryptoKey::Key", "(?:Read|Write)File: Failed to "), failures);
}
