#pragma once

#include <optional>
#include <string>
#include <vector>

/** The words that command lines are made of. Thread-safe. */
namespace CommandWords
{
/**
 * The words of a command line, separated by blanks and tabs. What stands between single quotes is taken as it is.
 * Between double quotes, a backslash takes a double quote or a backslash as it is; elsewhere it takes any character as
 * it is. Quoted and plain pieces without a blank in between are one word.
 *
 * @return nothing when a quote is not closed, or the line ends in a backslash
 */
std::optional<std::vector<std::string>> Split(const std::string& line);

/** A line that Split takes apart into these words again. */
std::string Join(const std::vector<std::string>& words);

/**
 * The index of the command that the words call: the one with the most words among those whose words all stand, in
 * order, at the beginning of the line. A command without words is never called.
 */
std::optional<std::size_t> FindCommand(const std::vector<std::vector<std::string>>& commands,
                                       const std::vector<std::string>& words);
} // namespace CommandWords
