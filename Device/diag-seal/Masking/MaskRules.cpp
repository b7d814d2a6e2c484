#include "MaskRules.h"

#include "BuiltInRulesText.h"
#include "Descriptor.h"
#include "ErrorText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace DiagSeal
{
namespace
{

constexpr std::string_view kBlanks = " \t\r";
constexpr std::size_t kBlockSize = 16384; // of a file; most rules files fit in one
constexpr std::string_view kNameCharacters = "abcdefghijklmnopqrstuvwxyz0123456789-";

MaskRule ParseLine(std::string_view line)
{
    const std::size_t nameEnd = line.find_first_of(kBlanks);
    const std::string_view name = line.substr(0, nameEnd);
    if (name.size() > kMaxRuleName || name.find_first_not_of(kNameCharacters) != std::string_view::npos) {
        throw RuleError("the name is more than 32 small letters, digits and '-'");
    }
    if (nameEnd == std::string_view::npos) {
        throw RuleError("there is no pattern");
    }
    const std::string_view pattern = line.substr(line.find_first_not_of(kBlanks, nameEnd));
    if (pattern.size() > kMaxPatternSize) {
        throw RuleError("the pattern is longer than 2048 bytes");
    }
    return {std::string(name), std::string(pattern)};
}

std::string_view Trimmed(std::string_view line)
{
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return line.substr(begin, line.find_last_not_of(kBlanks) - begin + 1);
}

[[noreturn]] void ThrowErrno()
{
    throw RuleError(ErrorText());
}

} // namespace

std::string_view BuiltInRules()
{
    return {kBuiltInRulesText, sizeof(kBuiltInRulesText) - 1};
}

std::vector<MaskRule> ParseRules(std::string_view text)
{
    if (text.size() > kMaxRulesSize) {
        throw RuleError("it is larger than 64 KiB");
    }
    std::vector<MaskRule> rules;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (rules.size() == kMaxRules) {
            throw RuleError("it has more than " + std::to_string(kMaxRules) + " rules");
        }
        try {
            rules.push_back(ParseLine(line));
        } catch (const RuleError& error) {
            throw RuleError("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return rules;
}

std::string ReadRulesFile(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.Get() < 0) {
        ThrowErrno();
    }
    std::string text;
    std::array<char, kBlockSize> block;
    while (text.size() <= kMaxRulesSize) {
        const ssize_t count = read(file.Get(), block.data(), std::min(block.size(), kMaxRulesSize + 1 - text.size()));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            ThrowErrno();
        }
        if (count == 0) {
            break;
        }
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace DiagSeal
