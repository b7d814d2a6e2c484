#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

/** The name of rules whose matches stay as they are. */
constexpr std::string_view kKeep = "keep";

/** A line of a rules file. The head of diag-mask.conf says what the names "keep", "ssid" and "when" mean. */
struct MaskRule
{
    std::string name;    ///< what the mask says
    std::string pattern; ///< RE2's syntax; letters match in either case
};

/** What a rules file may hold. */
constexpr std::size_t kMaxRulesSize = std::size_t{64} * 1024; ///< bytes
constexpr std::size_t kMaxRules = 128;
constexpr std::size_t kMaxPatternSize = 2048; ///< bytes
constexpr std::size_t kMaxRuleName = 32;      ///< bytes: small letters, digits and "-"

/** Rules that cannot be used, and why, in words for a person. */
class RuleError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** The text of the rules file as the program was built with it. */
std::string_view BuiltInRules();

/**
 * Reads a rules file's text: a name, blanks and a pattern a line; empty lines and those that begin with "#" do not
 * count. Throws RuleError. Patterns are taken as they stand. Thread-safe.
 */
std::vector<MaskRule> ParseRules(std::string_view text);

/**
 * The text of a rules file, of a file that is too large the first kMaxRulesSize + 1 bytes. Does not wait for the writer
 * of a FIFO. Throws RuleError if the file cannot be read. Blocks.
 */
std::string ReadRulesFile(const std::string& path);

} // namespace DiagSeal
