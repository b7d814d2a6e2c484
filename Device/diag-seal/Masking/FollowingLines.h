#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace re2
{
class RE2;
}

namespace DiagSeal
{

/**
 * Masks secrets on the lines after the one that announces them: private keys in PEM form (RFC 7468), and the dump of a
 * key's bytes under its title. Each line may have a log's prefix, and other lines may stand between.
 *
 * Such a block ends where its text says so, and after a bounded number of lines: a key that was cut off must not take
 * the rest of the log with it. Not thread-safe.
 */
class FollowingLines
{
public:
    FollowingLines();
    ~FollowingLines();

    /** The rule `name` has matched `text`, which may begin a block. */
    void Announce(std::string_view name, std::string_view text);

    bool IsActive() const { return m_linesLeft > 0; }

    /** The mask, "[masked:NAME]", with the name of the rule that has announced the block. */
    const std::string& Mask() const { return m_mask; }

    /** The next line with its part of the secret masked. For an active block only. */
    std::string Masked(std::string_view line);

private:
    std::string MaskedKeyLine(std::string_view line);
    std::string MaskedDumpLine(std::string_view line);

    std::unique_ptr<re2::RE2> m_dumpLine; ///< made when it is needed first
    std::string m_mask;
    int m_linesLeft = 0;
    bool m_isKey = false;
};

} // namespace DiagSeal
