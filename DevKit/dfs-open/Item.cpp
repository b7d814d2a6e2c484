#include "Item.h"

#include "Digest.h"
#include "Gunzip.h"

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
    constexpr unsigned char kDelete = 0x7f;
    return !name.empty() && name.size() <= kLongest && name != "." && name != ".." &&
           std::none_of(name.begin(), name.end(),
                        [](unsigned char byte) { return byte < ' ' || byte == kDelete || byte == '/'; });
}

std::string OpenItem(TarReader& reader, const PrivateKey& key, const Limits& limits, Budget& budget,
                     const ByteSink& sink, Item& item)
{
    std::string message;
    Gunzip outer(
        kOuterWords, [&message](std::string_view bytes) { message += bytes; }, limits.sealedSize, budget);
    Gunzip inner(kInnerWords, sink, limits.plainSize, budget);
    Digest digest(EVP_sha256());
    std::uint64_t storedSize = 0;
    std::optional<Fault> fault;
    const bool isAll = reader.Read(limits.sealedSize, [&](std::string_view bytes) {
        digest.Update(bytes);
        storedSize += bytes.size();
        try {
            if (!fault) {
                outer.Feed(bytes);
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
        OpenEnvelope(message, key, [&inner](std::string_view bytes) { inner.Feed(bytes); });
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
    reader.Read(limits.sealedSize, [&digest](std::string_view bytes) { digest.Update(bytes); });
    return digest.Finish();
}

} // namespace DfsOpen
