#pragma once

#include <cstddef>
#include <memory>
#include <string>

struct evp_md_ctx_st;

namespace DiagCloud
{

/** Computes an MD5 digest (RFC 1321) piece by piece. One thread at a time. */
class Md5
{
public:
    /** @throws std::runtime_error when the cryptographic library offers no MD5 */
    Md5();

    void Update(const char* data, std::size_t size);

    /** The digest of everything so far, as 32 lower-case hexadecimal digits. May be called once. */
    std::string Finish();

private:
    std::shared_ptr<evp_md_ctx_st> m_context;
};

/** How an archive's Content-MD5 field compares with the archive. */
enum class Md5Verdict
{
    kNotChecked, //!< Not an archive, or one that did not arrive whole.
    kMissing,
    kMalformed, //!< Not 32 lower-case hexadecimal digits.
    kMismatch,
    kMatches,
};

/** @param field the field's value, empty when it is missing @param digest the archive's digest as Md5 gives it */
Md5Verdict CompareMd5(const std::string& field, const std::string& digest);

/** The verdict in words, to follow "Content-MD5 ". */
const char* Describe(Md5Verdict verdict);

} // namespace DiagCloud
