#include "Envelope.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cerrno>
#include <limits>
#include <stdexcept>
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
    bool full = false;
};

int WriteToSink(BIO* bio, const char* data, int size)
{
    auto& state = *static_cast<SinkState*>(BIO_get_data(bio));
    if (!state.full && !state.sink(data, static_cast<std::size_t>(size))) {
        state.full = true;
    }
    return state.full ? -1 : size;
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

/** The content type of a CMS enveloped message follows its outer tag and length. */
bool BeginsAsEnvelopedData(const std::string& message)
{
    static const std::string kContentType("\x06\x09\x2a\x86\x48\x86\xf7\x0d\x01\x07\x03", 11);
    constexpr std::size_t kLongestTagAndLength = 10;
    constexpr char kSequence = 0x30;
    return !message.empty() && message.front() == kSequence && message.find(kContentType) <= kLongestTagAndLength;
}

/**
 * Unwraps the content key with the private key. This goes recipient by recipient because CMS_decrypt, given a key
 * without a certificate, hides a wrong key behind a random content key.
 */
bool UnwrapContentKey(CMS_ContentInfo* message, EVP_PKEY* key)
{
    STACK_OF(CMS_RecipientInfo)* recipients = CMS_get0_RecipientInfos(message);
    for (int index = 0; index < sk_CMS_RecipientInfo_num(recipients); ++index) {
        CMS_RecipientInfo* recipient = sk_CMS_RecipientInfo_value(recipients, index);
        if (CMS_RecipientInfo_type(recipient) != CMS_RECIPINFO_TRANS) {
            continue;
        }
        EVP_PKEY_up_ref(key);
        CMS_RecipientInfo_set0_pkey(recipient, key);
        const bool unwrapped = CMS_RecipientInfo_decrypt(message, recipient) > 0;
        CMS_RecipientInfo_set0_pkey(recipient, nullptr);
        if (unwrapped) {
            return true;
        }
    }
    return false;
}

EnvelopeStatus Decrypt(CMS_ContentInfo* message, EVP_PKEY* key, const ByteSink& sink)
{
    if (!UnwrapContentKey(message, key)) {
        return EnvelopeStatus::kWrongKey;
    }
    static const BioMethod method = SinkMethod();
    SinkState state{sink};
    const Bio output(BIO_new(method.get()));
    if (!output) {
        throw std::bad_alloc();
    }
    BIO_set_data(output.get(), &state);
    BIO_set_init(output.get(), 1);

    const int result = CMS_decrypt(message, nullptr, nullptr, nullptr, output.get(), CMS_BINARY | CMS_DEBUG_DECRYPT);
    if (state.full) {
        return EnvelopeStatus::kSinkFull;
    }
    return result == 1 ? EnvelopeStatus::kOpened : EnvelopeStatus::kDamaged;
}

EnvelopeStatus Open(const std::string& message, const PrivateKey* key, const ByteSink& sink)
{
    if (!BeginsAsEnvelopedData(message)) {
        return EnvelopeStatus::kNotCms;
    }
    if (message.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return EnvelopeStatus::kDamaged;
    }
    const auto* begin = reinterpret_cast<const unsigned char*>(message.data());
    const unsigned char* next = begin;
    const Message parsed(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(message.size())));
    if (!parsed || next != begin + message.size()) {
        return EnvelopeStatus::kDamaged;
    }
    return key == nullptr ? EnvelopeStatus::kSealed : Decrypt(parsed.get(), key->Get(), sink);
}

} // namespace

PrivateKey::PrivateKey(const std::string& path)
{
    const Bio file(BIO_new_file(path.c_str(), "re"));
    if (!file) {
        const int error = errno;
        ERR_clear_error();
        throw std::runtime_error("cannot read the key file " + path + ": " + std::generic_category().message(error));
    }
    m_key.reset(PEM_read_bio_PrivateKey(file.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (!m_key) {
        ERR_clear_error();
        throw std::runtime_error("the key file " + path + " holds no private key in PEM form that can be read");
    }
}

EnvelopeStatus OpenEnvelope(const std::string& message, const PrivateKey* key, const ByteSink& sink)
{
    const EnvelopeStatus status = Open(message, key, sink);
    ERR_clear_error();
    return status;
}

} // namespace DfsOpen
