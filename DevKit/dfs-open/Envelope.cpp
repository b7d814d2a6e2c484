#include "Envelope.h"

#include "EnvelopeLayout.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cerrno>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace DfsOpen
{

namespace
{

template <auto Free>
struct Freer
{
    template <typename T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using Message = std::unique_ptr<CMS_ContentInfo, Freer<CMS_ContentInfo_free>>;
using Bio = std::unique_ptr<BIO, Freer<BIO_vfree>>;
using BioMethod = std::unique_ptr<BIO_METHOD, Freer<BIO_meth_free>>;

struct SinkState
{
    const ByteSink& sink;
    std::exception_ptr fault; ///< Of the sink: OpenSSL is in C, which no exception may pass.
};

int WriteToSink(BIO* bio, const char* data, int size)
{
    auto& state = *static_cast<SinkState*>(BIO_get_data(bio));
    try {
        if (!state.fault) {
            state.sink(data, static_cast<std::size_t>(size));
        }
    } catch (...) {
        state.fault = std::current_exception();
    }
    return state.fault ? -1 : size;
}

long ControlSink(BIO* /*bio*/, int command, long /*number*/, void* /*pointer*/)
{
    return command == BIO_CTRL_FLUSH ? 1 : 0;
}

BioMethod SinkMethod()
{
    BioMethod method(BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "sink"));
    if (!method || BIO_meth_set_write(method.get(), WriteToSink) != 1 ||
        BIO_meth_set_ctrl(method.get(), ControlSink) != 1) {
        throw std::bad_alloc();
    }
    return method;
}

bool UnwrapByTransport(CMS_ContentInfo* message, CMS_RecipientInfo* recipient, EVP_PKEY* key)
{
    EVP_PKEY_up_ref(key);
    CMS_RecipientInfo_set0_pkey(recipient, key);
    const bool unwrapped = CMS_RecipientInfo_decrypt(message, recipient) > 0;
    CMS_RecipientInfo_set0_pkey(recipient, nullptr);
    return unwrapped;
}

bool UnwrapByAgreement(CMS_ContentInfo* message, CMS_RecipientInfo* recipient, EVP_PKEY* key, int& tries)
{
    STACK_OF(CMS_RecipientEncryptedKey)* wrapped = CMS_RecipientInfo_kari_get0_reks(recipient);
    for (int index = 0; index < sk_CMS_RecipientEncryptedKey_num(wrapped) && --tries >= 0; ++index) {
        const bool unwrapped =
            CMS_RecipientInfo_kari_set0_pkey(recipient, key) > 0 &&
            CMS_RecipientInfo_kari_decrypt(message, recipient, sk_CMS_RecipientEncryptedKey_value(wrapped, index)) > 0;
        CMS_RecipientInfo_kari_set0_pkey(recipient, nullptr);
        if (unwrapped) {
            return true;
        }
    }
    return false;
}

Fault Damaged()
{
    return Fault(Outcome::kDamaged, "its encrypted CMS message is damaged or cut short");
}

Fault Crowded()
{
    return Fault(Outcome::kRefused, "its encrypted CMS message names more recipients than are accepted");
}

/**
 * Unwraps the content key with the private key. This goes recipient by recipient because CMS_decrypt, given a key
 * without a certificate, hides a wrong key behind a random content key.
 */
void UnwrapContentKey(CMS_ContentInfo* message, EVP_PKEY* key)
{
    STACK_OF(CMS_RecipientInfo)* recipients = CMS_get0_RecipientInfos(message);
    int tries = kMostRecipients;
    for (int index = 0; index < sk_CMS_RecipientInfo_num(recipients) && tries >= 0; ++index) {
        CMS_RecipientInfo* recipient = sk_CMS_RecipientInfo_value(recipients, index);
        const int type = CMS_RecipientInfo_type(recipient);
        if ((type == CMS_RECIPINFO_TRANS && --tries >= 0 && UnwrapByTransport(message, recipient, key)) ||
            (type == CMS_RECIPINFO_AGREE && UnwrapByAgreement(message, recipient, key, tries))) {
            return;
        }
    }
    throw tries < 0 ? Crowded() : Fault(Outcome::kDamaged, "does not open with this key");
}

void Decrypt(CMS_ContentInfo* message, BIO* content, EVP_PKEY* key, const ByteSink& sink)
{
    UnwrapContentKey(message, key);
    static const BioMethod method = SinkMethod();
    SinkState state{sink, {}};
    const Bio output(BIO_new(method.get()));
    if (!output) {
        throw std::bad_alloc();
    }
    BIO_set_data(output.get(), &state);
    BIO_set_init(output.get(), 1);

    const int result = CMS_decrypt(message, nullptr, nullptr, content, output.get(), CMS_BINARY | CMS_DEBUG_DECRYPT);
    if (state.fault) {
        std::rethrow_exception(state.fault);
    }
    if (result != 1) {
        throw Damaged();
    }
}

/** Whether an AlgorithmIdentifier is that of AES in CBC mode (RFC 3565, section 4.1), with any size of key. */
bool IsAesCbc(std::string_view algorithm)
{
    constexpr std::string_view kAes("\x06\x09\x60\x86\x48\x01\x65\x03\x04\x01", 10);
    constexpr std::string_view kCbcModes("\x02\x16\x2a");
    return algorithm.substr(0, kAes.size()) == kAes && algorithm.size() > kAes.size() &&
           kCbcModes.find(algorithm[kAes.size()]) != std::string_view::npos;
}

/** The message without its encrypted content, which OpenSSL would copy, and without attributes. */
Message ParseWithoutContent(std::string_view recipients, std::string_view cipher)
{
    constexpr std::string_view kEnvelopedData("\x30\x80\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x03\xa0\x80\x30\x80",
                                              17);
    constexpr std::string_view kEncryptedContentInfo("\x30\x80", 2);
    constexpr std::size_t kEndsOfContents = 8;
    std::string message(kEnvelopedData);
    message.append(recipients).append(kEncryptedContentInfo).append(cipher).append(kEndsOfContents, '\0');
    const auto* next = reinterpret_cast<const unsigned char*>(message.data());
    return Message(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(message.size())));
}

} // namespace

PrivateKey::PrivateKey(const std::string& path)
{
    const Bio file(BIO_new_file(path.c_str(), "re"));
    if (!file) {
        throw std::runtime_error("cannot read the key file " + path + ": " + std::generic_category().message(errno));
    }
    m_key.reset(PEM_read_bio_PrivateKey(file.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (!m_key) {
        throw std::runtime_error("the key file " + path + " holds no private key in PEM form that can be read");
    }
}

void OpenEnvelope(std::string& message, const PrivateKey* key, const ByteSink& sink)
{
    const EnvelopeLayout layout(message);
    const auto part = [&message](const EnvelopeLayout::Part& where) {
        return std::string_view(message).substr(where.begin, where.size);
    };
    if (layout.recipients.size + layout.cipher.size > kLongestRecipients) {
        throw Crowded();
    }
    if (!IsAesCbc(part(layout.algorithm))) {
        throw Fault(Outcome::kRefused, "its encrypted CMS message uses another cipher than AES-CBC");
    }
    const Message parsed = ParseWithoutContent(part(layout.recipients), part(layout.cipher));
    if (!parsed || layout.content.size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw Damaged();
    }
    if (key == nullptr) {
        return;
    }
    const Bio content(BIO_new_mem_buf(part(layout.content).data(), static_cast<int>(layout.content.size)));
    if (!content) {
        throw std::bad_alloc();
    }
    Decrypt(parsed.get(), content.get(), key->Get(), sink);
}

} // namespace DfsOpen
