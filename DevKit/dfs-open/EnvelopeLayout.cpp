#include "EnvelopeLayout.h"

#include <openssl/asn1.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace DfsOpen
{

namespace
{

// Identifier octets, ITU-T X.690, section 8.1.2.
constexpr std::uint8_t kEndOfContents = 0x00;
constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kOctetString = 0x04;
constexpr std::uint8_t kObjectIdentifier = 0x06;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kSet = 0x31;
constexpr std::uint8_t kPrimitive0 = 0x80;
constexpr std::uint8_t kConstructed0 = 0xa0;
constexpr std::uint8_t kConstructed1 = 0xa1;

const std::string kEnvelopedData("\x2a\x86\x48\x86\xf7\x0d\x01\x07\x03", 9);

void Require(bool isGood)
{
    if (!isGood) {
        throw DamagedMessage();
    }
}

/** Goes through elements in BER (ITU-T X.690). */
class BerReader
{
public:
    using Part = EnvelopeLayout::Part;

    explicit BerReader(const std::string& data) : m_data(data), m_levels{{data.size(), false}} {}

    std::size_t Position() const { return m_position; }

    /** Goes into an element of that identifier; false, and stays, when there is none. */
    bool TryEnter(std::uint8_t identifier)
    {
        const auto level = Begin(identifier);
        if (level) {
            m_levels.push_back(*level);
        }
        return level.has_value();
    }

    void Enter(std::uint8_t identifier) { Require(TryEnter(identifier)); }

    /** Goes out of the element, which must end here. */
    void Leave()
    {
        const Level level = m_levels.back();
        Require(level.isIndefinite ? TryTake(kEndOfContents).has_value() : m_position == level.end);
        m_levels.pop_back();
    }

    /** Goes past an element of that identifier and of definite length; stays when there is none. @return its content */
    std::optional<Part> TryTake(std::uint8_t identifier)
    {
        const std::size_t before = m_position;
        const auto level = Begin(identifier);
        if (!level || level->isIndefinite) {
            m_position = before;
            return std::nullopt;
        }
        const Part content{m_position, level->end - m_position};
        m_position = level->end;
        return content;
    }

    Part Take(std::uint8_t identifier)
    {
        const auto content = TryTake(identifier);
        Require(content.has_value());
        return *content;
    }

private:
    struct Level
    {
        std::size_t end; ///< Of an indefinite length: that of the element around it.
        bool isIndefinite;
    };

    /** Goes to the content of the element. */
    std::optional<Level> Begin(std::uint8_t identifier)
    {
        const std::size_t end = m_levels.back().end;
        const auto* const begin = reinterpret_cast<const unsigned char*>(m_data.data()) + m_position;
        if (m_position == end || *begin != identifier) {
            return std::nullopt;
        }
        constexpr int kBad = 0x80;
        constexpr int kIndefinite = 0x01;
        const unsigned char* content = begin;
        long length = 0;
        int tag = 0;
        int tagClass = 0;
        const int form = ASN1_get_object(&content, &length, &tag, &tagClass, static_cast<long>(end - m_position));
        if ((form & kBad) != 0) {
            return std::nullopt;
        }
        m_position += static_cast<std::size_t>(content - begin);
        const bool isIndefinite = (form & kIndefinite) != 0;
        return Level{isIndefinite ? end : m_position + static_cast<std::size_t>(length), isIndefinite};
    }

    const std::string& m_data;
    std::vector<Level> m_levels;
    std::size_t m_position = 0;
};

/** Takes an octet string. Its pieces, if it comes in such, are moved to where the first one is. */
EnvelopeLayout::Part TakeContent(BerReader& reader, std::string& message)
{
    if (const auto whole = reader.TryTake(kPrimitive0)) {
        return *whole;
    }
    reader.Enter(kConstructed0);
    EnvelopeLayout::Part content{reader.Position(), 0};
    while (const auto piece = reader.TryTake(kOctetString)) {
        std::memmove(&message[content.begin + content.size], &message[piece->begin], piece->size);
        content.size += piece->size;
    }
    reader.Leave();
    return content;
}

} // namespace

EnvelopeLayout::EnvelopeLayout(std::string& message)
{
    BerReader reader(message);
    const bool isContentInfo = reader.TryEnter(kSequence);
    const auto type = reader.TryTake(kObjectIdentifier);
    if (!isContentInfo || !type || message.compare(type->begin, type->size, kEnvelopedData) != 0) {
        throw Fault(Outcome::Damaged, "not an encrypted CMS message");
    }
    reader.Enter(kConstructed0);
    reader.Enter(kSequence);
    recipients.begin = reader.Position();
    reader.Take(kInteger);
    reader.TryTake(kConstructed0);
    reader.Take(kSet);
    recipients.size = reader.Position() - recipients.begin;
    reader.Enter(kSequence);
    cipher.begin = reader.Position();
    reader.Take(kObjectIdentifier);
    algorithm = reader.Take(kSequence);
    cipher.size = reader.Position() - cipher.begin;
    content = TakeContent(reader, message);
    reader.Leave();
    // Attributes, which are not encrypted.
    reader.TryTake(kConstructed1);
    reader.Leave();
    reader.Leave();
    reader.Leave();
    Require(reader.Position() == message.size());
}

} // namespace DfsOpen
