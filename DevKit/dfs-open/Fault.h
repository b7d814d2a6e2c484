#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace DfsOpen
{

/** What became of an item. */
enum class Outcome
{
    Whole,   ///< Opened to its last byte, checksums verified.
    Sealed,  ///< Nothing is wrong as far as can be seen: there is no key, or nobody asked for it.
    Damaged, ///< It is not what the device sent, or not all of it, or the key is not the right one.
    Refused, ///< It may be whole, but is beyond a bound, not trusted, or cannot be stored.
    Missing, ///< It is not in the archive.
};

inline std::string ToText(Outcome outcome)
{
    constexpr const char* kNames[] = {"whole", "sealed", "damaged", "refused", "missing"};
    return kNames[static_cast<std::size_t>(outcome)];
}

/** Why an item is not whole, in words for the user. */
class Fault : public std::runtime_error
{
public:
    Fault(Outcome outcome, const std::string& text) : std::runtime_error(text), m_outcome(outcome) {}

    Outcome GetOutcome() const { return m_outcome; }

private:
    Outcome m_outcome;
};

/** Takes the next bytes of a stream. Throws a Fault when it can take no more, which ends the stream. */
using ByteSink = std::function<void(std::string_view bytes)>;

} // namespace DfsOpen
