#include "ByteKinds.h"

#include "Characters.h"

#include <string_view>

namespace DiagSeal
{
namespace
{

constexpr std::string_view kOwn = " \"':=-_./\\([<>,?&";
constexpr std::size_t kDigits = kOwn.size();
constexpr std::size_t kOthers = kDigits + 1;
constexpr std::size_t kLetters = kOthers + 1; // two letters each
constexpr std::size_t kEnd = kLetters + 26 / 2;

std::size_t KindOf(char c)
{
    if (IsDigit(c)) {
        return kDigits;
    }
    if (IsWord(c)) {
        return kLetters + static_cast<std::size_t>((c | 0x20) - 'a') / 2;
    }
    const std::size_t own = kOwn.find(c);
    return own != std::string_view::npos ? own : kOthers;
}

} // namespace

ByteKinds::ByteKinds()
{
    static_assert(kEnd <= kKinds);
    for (std::size_t i = 0; i < m_kinds.size(); ++i) {
        const std::size_t kind = KindOf(static_cast<char>(i));
        m_kinds[i] = static_cast<std::uint8_t>(kind);
        m_bytes[kind].set(i);
    }
}

std::uint32_t ByteKinds::Of(const ByteSet& bytes) const
{
    std::uint32_t kinds = 0;
    for (std::size_t i = 0; i < kEnd; ++i) {
        kinds |= static_cast<std::uint32_t>((bytes & m_bytes[i]).any() ? 1 : 0) << i;
    }
    return kinds;
}

} // namespace DiagSeal
