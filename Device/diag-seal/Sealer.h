#pragma once

#include <memory>
#include <string_view>

namespace DiagSeal
{

class Certificate;
class Output;

/**
 * Compresses (gzip, RFC 1952) and encrypts (CMS EnvelopedData, RFC 5652, with AES-256 in CBC mode, DER) a stream, piece
 * by piece. Holds less than 1 MiB, however much passes. Not thread-safe.
 */
class Sealer
{
public:
    /**
     * Wraps a fresh content key for the recipient. Writes nothing yet.
     * @param output must outlive this object
     * @throws std::runtime_error with the reason when nothing can be encrypted to that certificate
     */
    Sealer(const Certificate& recipient, Output& output);
    ~Sealer();
    Sealer(const Sealer&) = delete;
    Sealer& operator=(const Sealer&) = delete;

    /** @throws std::runtime_error with the reason when the output cannot be written */
    void Write(std::string_view bytes);

    /** Ends the stream and flushes the output. The last call. @throws std::runtime_error as Write does */
    void Finish();

private:
    struct Layers;

    std::unique_ptr<Layers> m_layers;
};

} // namespace DiagSeal
