#include "FuzzTarget.h"
#include "PublishedTokens.h"

static void CheckPem(const std::string& pem)
{
    CryptoKey::PublicKey key;
    const bool isLoaded = key.LoadString(pem);
    FUZZ_CHECK((key.GetKeyType() == CryptoKey::KeyType::INVALID) == (key.GetKey() == nullptr));
    key.VerifySignature("message", std::string(256, 's'), CryptoKey::DigestType::DEFAULT);

    const std::string written = key.ToString();
    FUZZ_CHECK(written.empty() == (key.GetKey() == nullptr) && (isLoaded || written.empty()));
    const CryptoKey::PublicKey again(written);
    FUZZ_CHECK(again.GetKeyType() == key.GetKeyType() && again == key && again.ToString() == written);
}

void CheckInput(const std::string& input)
{
    CheckPem(input);
    // What is no PEM text may be the DER form within one, where base64 does not stand in the way of small changes.
    if (input.find("-----BEGIN") == std::string::npos) {
        CheckPem(Pem({}, input));
    }
}
