#include "Item.h"

#include "Gunzip.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

namespace DfsOpen
{

namespace
{

class Sha256
{
public:
    Sha256() : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
    {
        if (!m_context || EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) != 1) {
            throw std::bad_alloc();
        }
    }

    void Update(const char* data, std::size_t size) { EVP_DigestUpdate(m_context.get(), data, size); }

    std::string Finish()
    {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
        unsigned int size = 0;
        EVP_DigestFinal_ex(m_context.get(), digest.data(), &size);
        return {digest.begin(), digest.begin() + size};
    }

private:
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

/** What a gzip layer was found to be: the outer one, or the one that was decrypted. */
ItemState StateOf(GunzipStatus status, bool isDecrypted)
{
    switch (status) {
        case GunzipStatus::kOk:
            return isDecrypted ? ItemState::kWhole : ItemState::kSealed;
        case GunzipStatus::kNotGzip:
            return isDecrypted ? ItemState::kPlainNotGzip : ItemState::kNotGzip;
        case GunzipStatus::kDamaged:
            return isDecrypted ? ItemState::kPlainDamaged : ItemState::kGzipDamaged;
        case GunzipStatus::kTruncated:
            return isDecrypted ? ItemState::kPlainTruncated : ItemState::kGzipTruncated;
        case GunzipStatus::kTooLarge:
            return isDecrypted ? ItemState::kPlainTooLarge : ItemState::kSealedTooLarge;
        case GunzipStatus::kExhausted:
            return ItemState::kExhausted;
        case GunzipStatus::kSinkFull:
            break;
    }
    return ItemState::kNotWritten;
}

ItemState OpenMessage(std::string& message, const PrivateKey* key, Gunzip& plain)
{
    if (message.empty()) {
        return ItemState::kEmptyMessage;
    }
    const EnvelopeStatus opened = OpenEnvelope(message, key, [&plain](const char* data, std::size_t size) {
        return plain.Feed(data, size) == GunzipStatus::kOk;
    });
    switch (opened) {
        case EnvelopeStatus::kSealed:
            return ItemState::kSealed;
        case EnvelopeStatus::kNotCms:
            return ItemState::kNotCms;
        case EnvelopeStatus::kDamaged:
            return ItemState::kCmsDamaged;
        case EnvelopeStatus::kCrowded:
            return ItemState::kCmsCrowded;
        case EnvelopeStatus::kCipher:
            return ItemState::kCmsCipher;
        case EnvelopeStatus::kWrongKey:
            return ItemState::kWrongKey;
        case EnvelopeStatus::kOpened:
        case EnvelopeStatus::kSinkFull:
            break;
    }
    return StateOf(plain.Finish(), true);
}

} // namespace

const char* Describe(ItemState state)
{
    switch (state) {
        case ItemState::kWhole:
            return "whole";
        case ItemState::kSealed:
            return "sealed";
        case ItemState::kUnopened:
            return "not opened";
        case ItemState::kMissing:
            return "missing from the archive";
        case ItemState::kNoName:
            return "the manifest names no file for it";
        case ItemState::kUnsafeName:
            return "refused: its name is not that of a plain file";
        case ItemState::kNotUnique:
            return "refused: another member has the same name";
        case ItemState::kCutShort:
            return "cut short: the archive cannot be read further";
        case ItemState::kNotGzip:
            return "not a gzip file";
        case ItemState::kGzipDamaged:
            return "its compression is damaged";
        case ItemState::kGzipTruncated:
            return "its compression is cut short";
        case ItemState::kEmptyMessage:
            return "empty: its encryption wrote nothing";
        case ItemState::kNotCms:
            return "not an encrypted CMS message";
        case ItemState::kCmsDamaged:
            return "its encrypted CMS message is damaged or cut short";
        case ItemState::kCmsCrowded:
            return "its encrypted CMS message names more recipients than are accepted";
        case ItemState::kCmsCipher:
            return "its encrypted CMS message uses another cipher than AES-CBC";
        case ItemState::kWrongKey:
            return "does not open with this key";
        case ItemState::kPlainNotGzip:
            return "decrypted to something that is not gzip";
        case ItemState::kPlainDamaged:
            return "decrypted to damaged content";
        case ItemState::kPlainTruncated:
            return "decrypted to content that is cut short";
        case ItemState::kSealedTooLarge:
            return "its encrypted message is larger than is accepted";
        case ItemState::kPlainTooLarge:
            return "larger than is accepted (--max-plain-size raises the bound)";
        case ItemState::kExhausted:
            return "the archive makes more work than is accepted (--max-plain-size lifts the bound)";
        case ItemState::kNotWritten:
            return "not written";
    }
    return "";
}

bool IsSound(ItemState state)
{
    return state == ItemState::kWhole || state == ItemState::kSealed || state == ItemState::kUnopened;
}

bool IsPlainFileName(const std::string& name)
{
    constexpr std::size_t kLongest = 255;
    constexpr unsigned char kFirstPrintable = 0x20;
    constexpr unsigned char kDelete = 0x7f;
    return !name.empty() && name.size() <= kLongest && name != "." && name != ".." &&
           std::none_of(name.begin(), name.end(), [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte < kFirstPrintable || byte == kDelete || byte == '/';
           });
}

OpenedItem OpenItem(TarReader& reader, const PrivateKey* key, const Limits& limits, Budget& budget,
                    const ByteSink& sink)
{
    OpenedItem item;
    std::string message;
    Sha256 digest;
    Gunzip outer(
        [&message](const char* data, std::size_t size) {
            message.append(data, size);
            return true;
        },
        limits.sealedSize, budget);
    bool overSize = false;
    reader.Read([&](const char* data, std::size_t size) {
        item.storedSize += size;
        overSize = item.storedSize > limits.sealedSize;
        digest.Update(data, size);
        outer.Feed(data, size);
        return !overSize;
    });
    item.digest = digest.Finish();
    item.state = overSize ? ItemState::kSealedTooLarge : StateOf(outer.Finish(), false);
    if (item.state != ItemState::kSealed) {
        return item;
    }

    Gunzip plain(sink, limits.plainSize, budget);
    item.state = OpenMessage(message, key, plain);
    if (item.state == ItemState::kWhole || plain.Produced() > 0) {
        item.plainSize = plain.Produced();
    }
    return item;
}

std::string DigestOfMember(TarReader& reader, const Limits& limits)
{
    Sha256 digest;
    std::uint64_t total = 0;
    reader.Read([&](const char* data, std::size_t size) {
        digest.Update(data, size);
        total += size;
        return total <= limits.sealedSize;
    });
    return digest.Finish();
}

} // namespace DfsOpen
