#pragma once

#include "Fault.h"

#include <string>
#include <string_view>

namespace DfsOpen
{

/** What is wrong with a message that is not as RFC 5652 has it. */
inline Fault DamagedMessage()
{
    return Fault(Outcome::Damaged, "its encrypted CMS message is damaged or cut short");
}

/** The parts of a CMS message; they point into it. */
struct EnvelopeLayout
{
    /**
     * Finds the parts of EnvelopedData (RFC 5652, section 6.1), but does not look into them.
     * @param message pieces of its encrypted content are joined in place
     * @throws Fault when it is no such message, is malformed, ends too early, or something follows it
     */
    explicit EnvelopeLayout(std::string& message);

    std::string_view recipients; ///< Of EnvelopedData: all in front of its EncryptedContentInfo.
    std::string_view cipher;     ///< Of EncryptedContentInfo: contentType and contentEncryptionAlgorithm.
    std::string_view algorithm;  ///< Of that: what the AlgorithmIdentifier contains.
    std::string_view content;    ///< The encrypted content.
};

} // namespace DfsOpen
