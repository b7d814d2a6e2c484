#pragma once

#include <getopt.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/** Reads the command lines of the tools. Not to be called by two threads at a time. */
namespace CommandLine
{

/** Where words that are no option may stand. */
enum class Words
{
    kAnywhere, ///< Between options as well.
    kLast,     ///< After the options: what follows the first such word is no option, whatever it looks like.
};

/** The value of "--help", which may also be called "-h". */
constexpr int kHelp = 'h';

/**
 * Takes the options off a command line, as getopt_long(3) does.
 *
 * @param arguments without the program's name
 * @param options each with a value of its own, from 1 to 31 or kHelp, and no flag
 * @param take called for each option, in turn, with its value and its argument, which is empty when there is none
 * @return the other words
 * @throws std::invalid_argument with one line for the user: an option is not known, or lacks its argument
 */
std::vector<std::string> TakeOptions(std::vector<std::string> arguments, std::vector<option> options, Words words,
                                     const std::function<void(int option, const std::string& argument)>& take);

/** An option's argument, a decimal number in a range. @throws std::invalid_argument with one line for the user */
std::uint64_t Number(const std::string& name, const std::string& argument, std::uint64_t least, std::uint64_t most);

/** The argument of "--port", a TCP port; 0 stands for any. @throws std::invalid_argument with one line for the user */
std::uint16_t Port(const std::string& argument);

/** For a tool that takes options only. @throws std::invalid_argument with one line for the user: there are words */
void RefuseWords(const std::vector<std::string>& words);

} // namespace CommandLine
