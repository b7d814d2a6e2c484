#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct evp_md_st;
struct evp_md_ctx_st;

/** Computes a message digest piece by piece. Not thread-safe. */
class Digest
{
public:
    /** @param kind such as EVP_md5() @throws std::runtime_error when OpenSSL does not offer it */
    explicit Digest(const evp_md_st* kind);

    void Update(const char* data, std::size_t size);

    /** The digest of everything so far, in lower-case hexadecimal digits. May be called once. */
    std::string Finish();

private:
    std::shared_ptr<evp_md_ctx_st> m_context;
};
