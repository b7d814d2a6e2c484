#include "CloseFrame.h"

#include "GatrixWire.h"
#include "Utf8Text.h"

#include <cstring>
#include <random>

std::string Gatrix::CloseFrame(CloseCode code, const std::string& reason, bool isMasked)
{
    constexpr char kFinalClose = '\x88';
    constexpr unsigned kMaskBit = 0x80;
    constexpr unsigned kByteBits = 8;
    const auto number = static_cast<unsigned>(code);
    std::string payload{static_cast<char>(number >> kByteBits), static_cast<char>(number)};
    payload += Utf8Text::Cut(reason, Wire::kMaxReasonBytes);
    std::string frame{kFinalClose, static_cast<char>(payload.size() | (isMasked ? kMaskBit : 0))};
    if (isMasked) {
        char mask[4];
        const std::uint32_t random = std::random_device()();
        std::memcpy(mask, &random, sizeof mask);
        frame.append(mask, sizeof mask);
        for (std::size_t at = 0; at < payload.size(); ++at) {
            payload[at] = static_cast<char>(payload[at] ^ mask[at % sizeof mask]);
        }
    }
    return frame + payload;
}
