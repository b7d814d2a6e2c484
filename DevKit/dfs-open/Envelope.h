#pragma once

#include "Fault.h"

#include <memory>
#include <optional>
#include <string>

struct evp_pkey_st;

namespace DfsOpen
{

/** A recipient's private key, of OpenSSL; null for none. */
using PrivateKey = std::shared_ptr<evp_pkey_st>;

/**
 * Reads a key in PEM form. For one that is itself encrypted, the pass phrase is asked for on the terminal.
 * @param path none for no key
 * @throws std::invalid_argument when the file cannot be read or holds no private key
 */
PrivateKey ReadPrivateKey(const std::optional<std::string>& path);

/** How many keys the recipients may have, and how many bytes may describe them. Devices name one recipient. */
constexpr int kMostRecipients = 16;
constexpr std::size_t kLongestRecipients = std::size_t{64} * 1024;

/**
 * Opens one CMS EnvelopedData message (RFC 5652, section 6) in DER or in the indefinite-length form that a streamed
 * encryption writes. The key may be one of key transport (RSA) or of key agreement (elliptic curves). The cipher must
 * be AES in CBC mode (RFC 3565), which is all that devices use.
 *
 * EnvelopedData carries no proof of its integrity: whoever reads the sink must verify what reached it.
 * @param message the whole message, which is used up
 * @param key the recipient's key; without one nothing is decrypted
 * @throws Fault, the sink's among them
 */
void OpenEnvelope(std::string& message, const PrivateKey& key, const ByteSink& sink);

} // namespace DfsOpen
