#include "CommandWords.h"

#include <algorithm>
#include <utility>

std::optional<std::vector<std::string>> CommandWords::Split(const std::string& line)
{
    std::vector<std::string> words;
    std::string word;
    bool isInWord = false;
    char quote = 0;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        const bool isLast = at + 1 == line.size();
        if (quote == '\'' || (quote == '"' && c != '\\')) {
            if (c == quote) {
                quote = 0;
            } else {
                word += c;
            }
        } else if (c == '\\') {
            if (isLast) {
                return std::nullopt;
            }
            const char next = line[++at];
            if (quote == '"' && next != '"' && next != '\\') {
                word += c;
            }
            word += next;
            isInWord = true;
        } else if (c == '\'' || c == '"') {
            quote = c;
            isInWord = true;
        } else if (c != ' ' && c != '\t') {
            word += c;
            isInWord = true;
        } else if (isInWord) {
            words.push_back(std::exchange(word, {}));
            isInWord = false;
        }
    }
    if (quote != 0) {
        return std::nullopt;
    }
    if (isInWord) {
        words.push_back(word);
    }
    return words;
}

std::string CommandWords::Join(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        line += line.empty() ? "" : " ";
        if (!word.empty() && word.find_first_of(" \t'\"\\") == std::string::npos) {
            line += word;
            continue;
        }
        line += '"';
        for (const char c : word) {
            line += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
        }
        line += '"';
    }
    return line;
}

std::optional<std::size_t> CommandWords::FindCommand(const std::vector<std::vector<std::string>>& commands,
                                                     const std::vector<std::string>& words)
{
    std::optional<std::size_t> best;
    for (std::size_t index = 0; index < commands.size(); ++index) {
        const std::vector<std::string>& command = commands[index];
        if (!command.empty() && command.size() <= words.size() &&
            std::equal(command.begin(), command.end(), words.begin()) &&
            (!best || command.size() > commands[*best].size())) {
            best = index;
        }
    }
    return best;
}
