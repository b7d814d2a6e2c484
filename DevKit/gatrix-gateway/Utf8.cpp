#include "Utf8.h"

namespace GatrixGateway
{

std::string CutUtf8(const std::string& text, std::size_t longest)
{
    constexpr unsigned kFirstBits = 0xC0;
    constexpr unsigned kContinuation = 0x80;
    std::size_t end = text.size() < longest ? text.size() : longest;
    while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & kFirstBits) == kContinuation) {
        --end;
    }
    return text.substr(0, end);
}

} // namespace GatrixGateway
