#include "Base64Encoder.h"

#include <openssl/evp.h>

#include <algorithm>

namespace
{
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kGroupBytes = 3;
constexpr std::size_t kGroupCharacters = 4;

// OpenSSL takes lengths as int: longer input goes through it in pieces of whole groups.
constexpr std::size_t kGroupsInPiece = 1U << 20U;

const unsigned char* Bytes(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

unsigned char* Bytes(char* text)
{
    return reinterpret_cast<unsigned char*>(text);
}
} // namespace

std::string Base64Encoder::Decode(const std::string& text)
{
    if (text.empty() || text.size() % kGroupCharacters != 0) {
        return {};
    }
    // EVP_DecodeBlock skips surrounding white space and takes "=" anywhere, hence the check beforehand.
    const std::size_t end = std::min(text.find_first_not_of(kAlphabet), text.size());
    const std::size_t padding = text.size() - end;
    if (padding > 2 || text.find_first_not_of('=', end) != std::string::npos) {
        return {};
    }

    std::string bytes(text.size() / kGroupCharacters * kGroupBytes, '\0');
    std::size_t done = 0;
    char* next = bytes.data();
    while (done < text.size()) {
        const std::size_t length = std::min(text.size() - done, kGroupsInPiece * kGroupCharacters);
        const int decoded = EVP_DecodeBlock(Bytes(next), Bytes(text.data() + done), static_cast<int>(length));
        if (decoded < 0) {
            return {};
        }
        next += decoded;
        done += length;
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}
