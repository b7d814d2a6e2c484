#include "Sealer.h"

#include "Certificate.h"
#include "GzipStream.h"
#include "Output.h"

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <array>
#include <exception>
#include <stdexcept>
#include <string>

namespace DiagSeal
{

namespace
{

// The default of gzip(1).
constexpr int kGzipLevel = 6;

// The end of the chain: what OpenSSL has encoded goes to the output.
struct Drain
{
    Output& output;
    std::exception_ptr failure;
};

int WriteToDrain(BIO* bio, const char* data, int size)
{
    auto& drain = *static_cast<Drain*>(BIO_get_data(bio));
    try {
        if (!drain.failure) {
            drain.output.Write({data, static_cast<std::size_t>(size)});
        }
    } catch (...) {
        drain.failure = std::current_exception();
    }
    return drain.failure ? -1 : size;
}

long ControlDrain(BIO* /*bio*/, int command, long /*number*/, void* /*pointer*/)
{
    return command == BIO_CTRL_FLUSH ? 1 : 0;
}

template <typename T>
T* Require(T* object, const char* step)
{
    if (object == nullptr) {
        std::array<char, 256> reason{};
        ERR_error_string_n(ERR_get_error(), reason.data(), reason.size());
        throw std::runtime_error(std::string(step) + ": " + reason.data());
    }
    return object;
}

// Frees the filters of a BIO chain down to its last link, which has an owner of its own.
void FreeFilters(BIO* chain, BIO* last)
{
    while (chain != last) {
        BIO* const next = BIO_pop(chain);
        BIO_free(chain);
        chain = next;
    }
}

} // namespace

struct Sealer::Layers
{
    explicit Layers(Output& output)
        : gzip(kGzipLevel, [this](std::string_view bytes) { Encrypt(bytes); }), drain{output, nullptr}
    {}
    ~Layers() { FreeFilters(filters, last.get()); }
    Layers(const Layers&) = delete;
    Layers& operator=(const Layers&) = delete;

    void Encrypt(std::string_view bytes)
    {
        const int size = static_cast<int>(bytes.size());
        const bool isWritten = BIO_write(filters, bytes.data(), size) == size;
        if (drain.failure) {
            std::rethrow_exception(drain.failure);
        }
        if (!isWritten) {
            throw std::runtime_error("the encryption failed");
        }
    }

    GzipStream gzip;
    Drain drain;
    std::unique_ptr<BIO_METHOD, decltype(&BIO_meth_free)> method{nullptr, BIO_meth_free};
    std::unique_ptr<BIO, decltype(&BIO_free)> last{nullptr, BIO_free};
    std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> message{nullptr, CMS_ContentInfo_free};
    BIO* filters = nullptr; ///< From the encryption down to `last`.
};

Sealer::Sealer(const Certificate& recipient, Output& output) : m_layers(std::make_unique<Layers>(output))
{
    Layers& layers = *m_layers;
    layers.method.reset(Require(BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "output"), "output"));
    BIO_meth_set_write(layers.method.get(), WriteToDrain);
    BIO_meth_set_ctrl(layers.method.get(), ControlDrain);
    layers.last.reset(Require(BIO_new(layers.method.get()), "output"));
    BIO_set_data(layers.last.get(), &layers.drain);
    BIO_set_init(layers.last.get(), 1);
    layers.filters = layers.last.get();

    const std::unique_ptr<STACK_OF(X509), void (*)(STACK_OF(X509)*)> recipients(
        Require(sk_X509_new_null(), "recipient"), [](STACK_OF(X509) * stack) { sk_X509_free(stack); });
    sk_X509_push(recipients.get(), recipient.Get());
    layers.message.reset(Require(CMS_encrypt(recipients.get(), nullptr, EVP_aes_256_cbc(), CMS_STREAM | CMS_BINARY),
                                 "encryption to recipient"));
    layers.filters = Require(BIO_new_CMS(layers.last.get(), layers.message.get()), "encryption to recipient");
}

Sealer::~Sealer() = default;

void Sealer::Write(std::string_view bytes)
{
    m_layers->gzip.Write(bytes);
}

void Sealer::Finish()
{
    m_layers->gzip.Finish();
    const bool isFlushed = BIO_flush(m_layers->filters) == 1;
    if (m_layers->drain.failure) {
        std::rethrow_exception(m_layers->drain.failure);
    }
    if (!isFlushed) {
        throw std::runtime_error("the encryption cannot be ended");
    }
    m_layers->drain.output.Flush();
}

} // namespace DiagSeal
