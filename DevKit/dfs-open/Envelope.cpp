#include "Envelope.h"

#include "EnvelopeLayout.h"
#include "OpenSslTypes.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <array>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace DfsOpen
{

namespace
{

using Message = std::unique_ptr<CMS_ContentInfo, OpenSsl::Deleter<CMS_ContentInfo_free>>;
using Bio = std::unique_ptr<BIO, OpenSsl::Deleter<BIO_free_all>>;

Fault Crowded()
{
    return Fault(Outcome::Refused, "its encrypted CMS message names more recipients than are accepted");
}

int CountKeys(CMS_ContentInfo* message)
{
    STACK_OF(CMS_RecipientInfo)* recipients = CMS_get0_RecipientInfos(message);
    int keys = 0;
    for (int index = 0; index < sk_CMS_RecipientInfo_num(recipients); ++index) {
        CMS_RecipientInfo* recipient = sk_CMS_RecipientInfo_value(recipients, index);
        keys += CMS_RecipientInfo_type(recipient) == CMS_RECIPINFO_AGREE
                    ? sk_CMS_RecipientEncryptedKey_num(CMS_RecipientInfo_kari_get0_reks(recipient))
                    : 1;
    }
    return keys;
}

void Decrypt(CMS_ContentInfo* message, Bio content, EVP_PKEY* key, const ByteSink& sink)
{
    if (CountKeys(message) > kMostRecipients) {
        throw Crowded();
    }
    // This call only sets the flag. Without it, a random content key would hide that the key is wrong.
    if (CMS_decrypt(message, nullptr, nullptr, nullptr, nullptr, CMS_DEBUG_DECRYPT) != 1) {
        throw DamagedMessage();
    }
    if (CMS_decrypt_set1_pkey(message, key, nullptr) != 1) {
        throw Fault(Outcome::Damaged, "does not open with this key");
    }
    const Bio plain(CMS_dataInit(message, content.get()));
    if (!plain) {
        throw DamagedMessage();
    }
    static_cast<void>(content.release());
    std::array<char, 65536> buffer;
    int got = 0;
    while ((got = BIO_read(plain.get(), buffer.data(), static_cast<int>(buffer.size()))) > 0) {
        sink({buffer.data(), static_cast<std::size_t>(got)});
    }
    if (got < 0 || BIO_get_cipher_status(plain.get()) <= 0) {
        throw DamagedMessage();
    }
}

// Whether an AlgorithmIdentifier is that of AES in CBC mode (RFC 3565, section 4.1), with any size of key.
bool IsAesCbc(std::string_view algorithm)
{
    constexpr std::string_view kAes("\x06\x09\x60\x86\x48\x01\x65\x03\x04\x01", 10);
    constexpr std::string_view kCbcModes("\x02\x16\x2a");
    return algorithm.substr(0, kAes.size()) == kAes && algorithm.size() > kAes.size() &&
           kCbcModes.find(algorithm[kAes.size()]) != std::string_view::npos;
}

// The message without its encrypted content, which OpenSSL would copy, and without attributes.
Message ParseWithoutContent(std::string_view recipients, std::string_view cipher)
{
    constexpr std::string_view kEnvelopedData("\x30\x80\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x03\xa0\x80\x30\x80",
                                              17);
    constexpr std::string_view kEncryptedContentInfo("\x30\x80", 2);
    constexpr std::string_view kEmptyContent("\x80\x00", 2);
    constexpr std::size_t kEndsOfContents = 8;
    std::string message(kEnvelopedData);
    message.append(recipients)
        .append(kEncryptedContentInfo)
        .append(cipher)
        .append(kEmptyContent)
        .append(kEndsOfContents, '\0');
    const auto* next = reinterpret_cast<const unsigned char*>(message.data());
    return Message(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(message.size())));
}

} // namespace

PrivateKey ReadPrivateKey(const std::optional<std::string>& path)
{
    if (!path) {
        return nullptr;
    }
    const Bio file(BIO_new_file(path->c_str(), "re"));
    if (!file) {
        throw std::invalid_argument("cannot read the key file " + *path + ": " +
                                    std::generic_category().message(errno));
    }
    PrivateKey key(PEM_read_bio_PrivateKey(file.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (!key) {
        throw std::invalid_argument("the key file " + *path +
                                    " holds no private key in PEM form, or was encrypted with another pass phrase");
    }
    return key;
}

void OpenEnvelope(std::string& message, const PrivateKey& key, const ByteSink& sink)
{
    const EnvelopeLayout layout(message);
    if (layout.recipients.size() + layout.cipher.size() > kLongestRecipients) {
        throw Crowded();
    }
    if (!IsAesCbc(layout.algorithm)) {
        throw Fault(Outcome::Refused, "its encrypted CMS message uses another cipher than AES-CBC");
    }
    const Message parsed = ParseWithoutContent(layout.recipients, layout.cipher);
    if (!parsed || layout.content.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw DamagedMessage();
    }
    if (key == nullptr) {
        return;
    }
    Bio content(BIO_new_mem_buf(layout.content.data(), static_cast<int>(layout.content.size())));
    if (!content) {
        throw std::bad_alloc();
    }
    Decrypt(parsed.get(), std::move(content), key.get(), sink);
}

} // namespace DfsOpen
