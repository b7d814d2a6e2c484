#include "EnvelopeLayout.h"

#include <openssl/asn1.h>

#include <cstring>
#include <optional>
#include <vector>

namespace DfsOpen
{

namespace
{

// Identifier octets, ITU-T X.690, section 8.1.2; those of a primitive universal type are OpenSSL's numbers of it.
constexpr int kSequence = V_ASN1_CONSTRUCTED | V_ASN1_SEQUENCE;
constexpr int kSet = V_ASN1_CONSTRUCTED | V_ASN1_SET;
constexpr int kPrimitive0 = V_ASN1_CONTEXT_SPECIFIC;
constexpr int kConstructed0 = V_ASN1_CONTEXT_SPECIFIC | V_ASN1_CONSTRUCTED;
constexpr int kConstructed1 = kConstructed0 + 1;

constexpr std::string_view kEnvelopedData("\x2a\x86\x48\x86\xf7\x0d\x01\x07\x03", 9);

void Require(bool isGood)
{
    if (!isGood) {
        throw DamagedMessage();
    }
}

// Goes through elements in BER (ITU-T X.690).
class BerReader
{
public:
    explicit BerReader(std::string_view data) : m_data(data), m_levels{{data.size(), false}} {}

    std::size_t Position() const { return m_position; }

    // What lies between an earlier position and this one.
    std::string_view Since(std::size_t begin) const { return m_data.substr(begin, m_position - begin); }

    // Goes into an element of that identifier; false, and stays, when there is none.
    bool TryEnter(int identifier)
    {
        const auto level = Begin(identifier);
        if (level) {
            m_levels.push_back(*level);
        }
        return level.has_value();
    }

    void Enter(int identifier) { Require(TryEnter(identifier)); }

    // Goes out of the element, which must end here.
    void Leave()
    {
        const Level level = m_levels.back();
        Require(level.isIndefinite ? TryTake(V_ASN1_EOC).has_value() : m_position == level.end);
        m_levels.pop_back();
    }

    // Goes past an element of that identifier and of definite length; stays when there is none. Returns its content.
    std::optional<std::string_view> TryTake(int identifier)
    {
        const std::size_t before = m_position;
        const auto level = Begin(identifier);
        if (!level || level->isIndefinite) {
            m_position = before;
            return std::nullopt;
        }
        const std::size_t begin = m_position;
        m_position = level->end;
        return Since(begin);
    }

    std::string_view Take(int identifier)
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

    // Goes to the content of the element.
    std::optional<Level> Begin(int identifier)
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

    const std::string_view m_data;
    std::vector<Level> m_levels;
    std::size_t m_position = 0;
};

// Takes an octet string. Its pieces, if it comes in such, are moved to where the first one is.
std::string_view TakeContent(BerReader& reader, std::string& message)
{
    if (const auto whole = reader.TryTake(kPrimitive0)) {
        return *whole;
    }
    reader.Enter(kConstructed0);
    const std::size_t begin = reader.Position();
    std::size_t size = 0;
    while (const auto piece = reader.TryTake(V_ASN1_OCTET_STRING)) {
        std::memmove(&message[begin + size], piece->data(), piece->size());
        size += piece->size();
    }
    reader.Leave();
    return std::string_view(message).substr(begin, size);
}

} // namespace

EnvelopeLayout::EnvelopeLayout(std::string& message)
{
    BerReader reader(message);
    const bool isContentInfo = reader.TryEnter(kSequence);
    const auto type = reader.TryTake(V_ASN1_OBJECT);
    if (!isContentInfo || type != kEnvelopedData) {
        throw Fault(Outcome::Damaged, "not an encrypted CMS message");
    }
    reader.Enter(kConstructed0);
    reader.Enter(kSequence);
    const std::size_t recipientsBegin = reader.Position();
    reader.Take(V_ASN1_INTEGER);
    reader.TryTake(kConstructed0);
    reader.Take(kSet);
    recipients = reader.Since(recipientsBegin);
    reader.Enter(kSequence);
    const std::size_t cipherBegin = reader.Position();
    reader.Take(V_ASN1_OBJECT);
    algorithm = reader.Take(kSequence);
    cipher = reader.Since(cipherBegin);
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
