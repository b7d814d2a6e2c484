#include "MaskCases.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace
{
std::string WithReplaced(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::vector<std::string> Rows(const std::string& name)
{
    std::ifstream file(MASK_CASES + name);
    std::vector<std::string> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.front() != '#') {
            line = WithReplaced(WithReplaced(WithReplaced(line, "␤", "\n"), "␍", "\r"), "␛", "\x1b");
            rows.push_back(WithReplaced(line, "␀", std::string(1, '\0')));
        }
    }
    if (rows.size() < 80) {
        throw std::runtime_error("the table " + name + " is not there");
    }
    return rows;
}

/** What stays of the line up to its first secret: a mask takes quotes along, and a key's title. */
std::string KeptOf(std::string line)
{
    line.erase(std::min(line.find("-----BEGIN"), line.size()));
    return line.erase(line.find_last_not_of("\\\"'") + 1);
}
} // namespace

std::vector<MaskCase> SecretCases()
{
    std::vector<MaskCase> cases;
    for (const std::string& row : Rows("secrets.txt")) {
        const std::size_t tab = row.find('\t');
        const std::string text = row.substr(tab + 1);
        MaskCase entry{row.substr(0, tab), {}, {}, {}};
        std::size_t at = 0;
        for (std::size_t begin; (begin = text.find("{{", at)) != std::string::npos;) {
            const std::size_t end = text.find("}}", begin);
            entry.input += text.substr(at, begin - at);
            const auto number = static_cast<std::size_t>(std::count(entry.input.begin(), entry.input.end(), '\n'));
            entry.kept.emplace(number, KeptOf(entry.input.substr(entry.input.rfind('\n') + 1)));
            entry.secrets.push_back(text.substr(begin + 2, end - begin - 2));
            entry.input += entry.secrets.back();
            at = end + 2;
        }
        entry.input += text.substr(at);
        cases.push_back(entry);
    }
    return cases;
}

std::vector<std::string> HarmlessCases()
{
    return Rows("harmless.txt");
}

std::string Masked(const std::string& input, std::size_t pieceSize, const std::string& rules, char key)
{
    DiagSeal::MaskKey bytes;
    bytes.fill(static_cast<std::uint8_t>(key));
    DiagSeal::Masker masker(bytes, std::make_unique<DiagSeal::SecretFinder>(rules.empty() ? DiagSeal::BuiltInRules()
                                                                                          : std::string_view(rules)));
    return MaskedBy(masker, input, pieceSize);
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

std::vector<std::string> MaskedEach(const std::vector<std::string>& texts, const std::string& rules)
{
    static const std::string kBetween = "\n-----END\n"; // which ends a private key
    std::string all;
    for (const std::string& text : texts) {
        all += text + kBetween;
    }
    all = Masked(all, std::string::npos, rules);
    std::vector<std::string> outputs;
    for (std::size_t end; (end = all.find(kBetween)) != std::string::npos; all.erase(0, end + kBetween.size())) {
        outputs.push_back(all.substr(0, end));
    }
    return outputs;
}
