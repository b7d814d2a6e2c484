#include "Item.h"

#include "Digest.h"
#include "Gunzip.h"

#include <openssl/evp.h>

#include <algorithm>

namespace DfsOpen
{

constexpr const char* kTooLarge = "its encrypted message is larger than is accepted";
constexpr Gunzip::Words kOuterWords = {"not a gzip file", "its compression is damaged", "its compression is cut short",
                                       kTooLarge};
constexpr Gunzip::Words kInnerWords = {"decrypted to something that is not gzip", "decrypted to damaged content",
                                       "decrypted to content that is cut short",
                                       "larger than is accepted (--max-plain-size raises the bound)"};

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

std::string OpenItem(TarReader& reader, const PrivateKey* key, const Limits& limits, Budget& budget,
                     const ByteSink& sink, Item& item)
{
    std::string message;
    Gunzip outer(
        kOuterWords, [&message](const char* data, std::size_t size) { message.append(data, size); }, limits.sealedSize,
        budget);
    Gunzip inner(kInnerWords, sink, limits.plainSize, budget);
    Digest digest(EVP_sha256());
    std::uint64_t storedSize = 0;
    std::optional<Fault> fault;
    const bool isAll = reader.Read(limits.sealedSize, [&](const char* data, std::size_t size) {
        digest.Update(data, size);
        storedSize += size;
        try {
            if (!fault) {
                outer.Feed(data, size);
            }
        } catch (const Fault& found) {
            // The digest is of all bytes: the reading goes on.
            fault = found;
        }
    });
    item.storedSize = storedSize;
    try {
        if (!isAll) {
            throw Fault(Outcome::Refused, kTooLarge);
        }
        if (fault) {
            throw Fault(*fault);
        }
        outer.Finish();
        if (message.empty()) {
            throw Fault(Outcome::Damaged, "empty: its encryption wrote nothing");
        }
        OpenEnvelope(message, key, [&inner](const char* data, std::size_t size) { inner.Feed(data, size); });
        if (key != nullptr) {
            inner.Finish();
        }
        item.outcome = key != nullptr ? Outcome::Whole : Outcome::Sealed;
        item.text.clear();
    } catch (const Fault& found) {
        item.outcome = found.GetOutcome();
        item.text = found.what();
    }
    if (item.outcome == Outcome::Whole || inner.Produced() > 0) {
        item.plainSize = inner.Produced();
    }
    return digest.Finish();
}

std::string DigestOfMember(TarReader& reader, const Limits& limits)
{
    Digest digest(EVP_sha256());
    reader.Read(limits.sealedSize, [&digest](const char* data, std::size_t size) { digest.Update(data, size); });
    return digest.Finish();
}

} // namespace DfsOpen
