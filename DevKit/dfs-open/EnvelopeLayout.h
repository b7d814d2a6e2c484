#pragma once

#include "Fault.h"

#include <cstddef>
#include <string>

namespace DfsOpen
{

/** What is wrong with a message that is not as RFC 5652 has it. */
inline Fault DamagedMessage()
{
    return Fault(Outcome::Damaged, "its encrypted CMS message is damaged or cut short");
}

/** Where in a CMS message its parts lie. */
struct EnvelopeLayout
{
    struct Part
    {
        std::size_t begin = 0;
        std::size_t size = 0;
    };

    /**
     * Finds the parts of EnvelopedData (RFC 5652, section 6.1), but does not look into them.
     * @param message pieces of its encrypted content are joined in place
     * @throws Fault when it is no such message, is malformed, ends too early, or something follows it
     */
    explicit EnvelopeLayout(std::string& message);

    Part recipients; ///< Of EnvelopedData: all in front of its EncryptedContentInfo.
    Part cipher;     ///< Of EncryptedContentInfo: contentType and contentEncryptionAlgorithm.
    Part algorithm;  ///< Of that: what the AlgorithmIdentifier contains.
    Part content;    ///< The encrypted content.
};

} // namespace DfsOpen
