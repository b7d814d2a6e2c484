#pragma once

#include "AddressFilter.h"
#include "FollowingLines.h"
#include "Pseudonyms.h"
#include "SecretFinder.h"
#include "TextFilter.h"

#include <memory>
#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * Masks what a diagnostic command prints: what the rules find reads "[masked:NAME]", addresses and the names of
 * wireless networks become pseudonyms. The rest passes byte for byte.
 *
 * Two rule names mean something else: what "keep" matches stays as it is, and what "ssid" finds is a network's name.
 *
 * Works line by line. A line of more than kMaxPiece bytes is masked in pieces that overlap: a match counts wherever its
 * secret begins within kOverlap bytes of the match. A secret of more than kMaxSecret bytes takes the rest of its line
 * with it. Apart from the rules, an object holds less than 64 KiB. Not thread-safe.
 */
class Masker : public TextFilter
{
public:
    /** bytes */
    static constexpr std::size_t kMaxPiece = 4096;
    static constexpr std::size_t kOverlap = 1024;
    static constexpr std::size_t kMaxSecret = kMaxPiece / 2;

    /** @param key of the pseudonyms, which agree between items that have the same */
    Masker(const MaskKey& key, std::unique_ptr<SecretFinder> finder);

    void Feed(std::string_view bytes, std::string& out) override;
    void Finish(std::string& out) override;

private:
    void EndLine(std::string_view line, std::string& out);
    void EndPiece(std::string& out);
    std::size_t Mask(std::string_view line, std::size_t from, bool isComplete, std::string& out);
    void Replace(const FoundSecret& found, std::string_view line, std::string& out);

    const Pseudonyms m_pseudonyms;
    const AddressFilter m_addresses;
    const std::unique_ptr<SecretFinder> m_finder;
    FollowingLines m_following;
    std::string m_pending;  ///< of a line whose end is not there yet: what is done, as far as it counts, and the rest
    std::size_t m_done = 0; ///< bytes at the beginning of m_pending that have been passed on
    bool m_hasControls = false; ///< what is pending or fed may hold bytes that rules see as blanks
    bool m_isDropping = false;  ///< the rest of the line belongs to a secret
};

} // namespace DiagSeal
