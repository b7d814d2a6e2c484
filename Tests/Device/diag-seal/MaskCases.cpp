#include "MaskCases.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace
{
std::vector<std::string> Rows(const std::string& name)
{
    const std::pair<const char*, std::string> signs[] = {
        {"␤", "\n"}, {"␍", "\r"}, {"␛", "\x1b"}, {"␀", std::string(1, '\0')}};
    std::ifstream file(MASK_CASES + name);
    std::vector<std::string> rows;
    for (std::string line; std::getline(file, line);) {
        for (const auto& [sign, character] : signs) {
            RE2::GlobalReplace(&line, sign, character);
        }
        if (line.front() != '#') {
            rows.push_back(line);
        }
    }
    if (rows.size() < 80) {
        throw std::runtime_error("the table " + name + " is not there");
    }
    return rows;
}

/** What stands in the place of a secret, in RE2's syntax. */
std::string MaskOf(const std::string& name)
{
    const bool isPseudonym = name == "ssid" || name == "ip";
    return name == "mac" ? "[^ ]+" : isPseudonym ? "[[]" + name + ":[0-9a-f]{8}[]]" : "[[]masked:" + name + "[]]";
}

MaskCase Parsed(const std::string& text, const std::string& mask)
{
    static const RE2 kSecret(R"((?s)\{\{(.*?)\}\})");
    static const RE2 kQuotedSecret(R"((?s)\\{\\{.*?\\}\\})");
    MaskCase entry{text, {}, {}};
    re2::StringPiece rest(text);
    for (std::string secret; RE2::FindAndConsume(&rest, kSecret, &secret);) {
        entry.secrets.push_back(secret);
    }
    RE2::GlobalReplace(&entry.input, kSecret, R"(\1)");
    std::string output = RE2::QuoteMeta(text);
    RE2::GlobalReplace(&output, kQuotedSecret, mask);
    entry.output = std::make_shared<RE2>(output);
    return entry;
}
} // namespace

std::vector<MaskCase> MaskCases()
{
    std::vector<MaskCase> cases;
    for (const std::string& row : Rows("harmless.txt")) {
        cases.push_back(Parsed(row, {}));
    }
    for (const std::string& row : Rows("secrets.txt")) {
        const std::size_t tab = row.find('\t');
        cases.push_back(Parsed(row.substr(tab + 1), MaskOf(row.substr(0, tab))));
    }
    return cases;
}

std::vector<std::string> MaskInputs()
{
    std::vector<std::string> inputs;
    for (const MaskCase& entry : MaskCases()) {
        inputs.push_back(entry.input);
    }
    return inputs;
}

DiagSeal::Masker MakeMasker(const std::string& rules, char key)
{
    DiagSeal::MaskKey bytes;
    bytes.fill(static_cast<std::uint8_t>(key));
    const std::string_view text = rules.empty() ? DiagSeal::BuiltInRules() : rules;
    return DiagSeal::Masker(bytes, std::make_unique<DiagSeal::SecretFinder>(text));
}

std::string MaskedBy(DiagSeal::Masker& masker, const std::string& input, std::size_t pieceSize)
{
    std::string out;
    for (std::size_t at = 0; at < input.size(); at += std::min(pieceSize, input.size())) {
        masker.Feed(std::string_view(input).substr(at, pieceSize), out);
    }
    masker.Finish(out);
    return out;
}

std::string Masked(const std::string& input, const std::string& rules, char key)
{
    DiagSeal::Masker masker = MakeMasker(rules, key);
    return MaskedBy(masker, input);
}
