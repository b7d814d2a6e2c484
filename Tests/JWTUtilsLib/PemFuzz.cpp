#include <cstdint>

#include "FuzzCheck.h"
#include "PublicKey.h"
#include "PublishedTokens.h"

using CryptoKey::DigestType;
using CryptoKey::KeyType;
using CryptoKey::PublicKey;

namespace
{
void CheckPem(const std::string& pem)
{
    PublicKey key;
    const bool isLoaded = key.LoadString(pem);
    FUZZ_CHECK((key.GetKeyType() == KeyType::INVALID) == (key.GetKey() == nullptr));
    if (key.GetKey() == nullptr) {
        FUZZ_CHECK(key.ToString().empty() && !key.VerifySignature("m", "s", DigestType::DEFAULT));
        return;
    }
    FUZZ_CHECK(isLoaded && key.GetMessageDigest(DigestType::DEFAULT) != nullptr);
    key.VerifySignature("message", std::string(256, 's'), DigestType::DEFAULT);

    const std::string written = key.ToString();
    const PublicKey again(written);
    FUZZ_CHECK(again.GetKeyType() == key.GetKeyType());
    FUZZ_CHECK(again == key && again.ToString() == written);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    CheckPem(input);
    // What is no PEM text may be the DER form within one, where base64 does not stand in the way of small changes.
    if (input.find("-----BEGIN") == std::string::npos) {
        CheckPem(Pem({}, input));
    }
    return 0;
}
