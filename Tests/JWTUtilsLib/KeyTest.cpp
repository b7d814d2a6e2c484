#include "CapturedLog.h"
#include "Key.h"
#include "PublishedTokens.h"
#include "StdioFile.h"
#include "TemporaryFolder.h"
#include "TokenMaker.h"

#include <openssl/err.h>

#include <filesystem>

using namespace CryptoKey;

TEST(PublicKey, ComesAndGoesAsText)
{
    for (const PublishedToken& token : PublishedTokens()) {
        PublicKey key;
        EXPECT_TRUE(key.LoadString("a key:\n" + token.pem));
        EXPECT_EQ(key.ToString(), token.pem);
        EXPECT_TRUE(key == token.key && key != PublicKey() && PublicKey() != key);
        EXPECT_EQ(key == PublishedTokens()[0].key, &token == &PublishedTokens()[0]);
    }
    EXPECT_TRUE(PublicKey() == PublicKey());
    EXPECT_EQ(ERR_peek_error(), 0U) << "a comparison leaves no error for the next failure to print";
}

TEST(PublicKey, RefusesWhatIsNoKey_AndAsksForNoPassword)
{
    PublicKey key = PublishedTokens()[0].key;
    const std::string pem = PublishedTokens()[0].pem;
    std::string encrypted = pem;
    encrypted.insert(pem.find('\n'),
                     "\nProc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n");
    // RFC 8410 section 10.1: a key it is, but of no use.
    const std::string ed25519 = Pem("MCowBQYDK2VwAyEAGb9ECWmEzf6FQbrBZ9w7lshQhqowtrbLDFw4rXAxZuE=", {});
    CapturedLog log;
    EXPECT_FALSE(key.LoadString(""));
    EXPECT_FALSE(key.LoadString(pem.substr(0, 200)));
    EXPECT_EQ(key.GetKeyType(), KeyType::RSA) << "a text that is no key replaces none";
    EXPECT_FALSE(key.VerifySignature("message", "signature", DigestType::DEFAULT));
    EXPECT_TRUE(key.LoadString(ed25519));
    EXPECT_EQ(key.GetKeyType(), KeyType::INVALID);
    EXPECT_FALSE(key.VerifySignature("message", "signature", DigestType::DEFAULT));
    EXPECT_EQ(key.ToString(), "");
    EXPECT_TRUE(key.LoadString(pem));
    EXPECT_EQ(EVP_MD_type(key.GetDefaultMessageDigestECDSA()), NID_sha256);
    // But for the lines of OpenSSL's own.
    EXPECT_EQ(CapturedLog::TextOf("CryptoKey::(?:Key|PublicKey)(?!: [A-Za-z]*: OpenSSL: )"), R"(
1 LoadString: No data
1 LoadString: Error in PEM_read_bio_PUBKEY:
1 VerifySignature: Error in EVP_DigestVerifyFinal:
2 SetKey: Key type ED25519 (nid=1087) is not supported!
1 VerifySignature: Key not loaded.
1 ToString: Key not loaded
4 SetKey: Loaded key of type rsaEncryption (nid=6)
1 GetDefaultMessageDigestECDSA: Error in EVP_PKEY_get1_EC_KEY:
)");
    log = CapturedLog();
    EXPECT_FALSE(key.LoadString(encrypted));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                AllOf(testing::HasSubstr("LoadString: OpenSSL: "), Not(testing::HasSubstr("Enter"))));
}

TEST(Key, ChoosesTheDigest)
{
    const Key rsa = PublishedTokens()[0].key;
    const PublicKey p521(MakeKey(NID_secp521r1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    EXPECT_EQ(EVP_MD_type(p521.GetMessageDigest(DigestType::INVALID)), NID_sha256);
    EXPECT_EQ(EVP_MD_type(Key().GetDefaultMessageDigestECDSA()), NID_sha256);
    const auto defaultOf = [](const Key& key) { return EVP_MD_type(key.GetMessageDigest(DigestType::DEFAULT)); };
    EXPECT_EQ(defaultOf(rsa), NID_sha256);
    EXPECT_EQ(defaultOf(MakeKey(NID_X9_62_prime256v1)), NID_sha256);
    EXPECT_EQ(defaultOf(MakeKey(NID_secp384r1)), NID_sha384);
    EXPECT_EQ(defaultOf(p521), NID_sha512);
}

TEST(Key, ComesFromAFile)
{
    const TemporaryFolder folder;
    const std::string path = folder.Path() + "/key.pem";
    const std::string text = PublishedTokens()[0].pem + std::string(5000, '\n') + '\0';
    EXPECT_TRUE(Key::WriteFile(path, text));
    EXPECT_EQ(Key::ReadFile(path), text);
    EXPECT_TRUE(Key(path) == PublishedTokens()[0].key);
    std::filesystem::resize_file(path, Files::kMaxFileSize + 1);
    const CapturedLog log;
    EXPECT_EQ(Key("/none").GetKeyType(), KeyType::INVALID);
    EXPECT_EQ(Key::ReadFile(path).size(), Files::kMaxFileSize + 1);
    EXPECT_FALSE(Key::WriteFile("/none/key.pem", text) || Key::WriteFile("/dev/full", "text"));
    const std::vector<std::string> failures = {
        "2 read file '/none': No such file or directory", "2 read file '" + path + "': File too large",
        "2 write file '/none/key.pem': No such file or directory", "2 write file '/dev/full': No space left on device"};
    EXPECT_EQ(CapturedLog::LinesOf("CryptoKey::Key", "(?:Read|Write)File: Failed to "), failures);
}
