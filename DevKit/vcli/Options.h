#pragma once

#include <chrono>
#include <string>
#include <vector>

/** What vcli was called with. */
struct Options
{
    /** Whether to wait, after a command's reply, for the line that tells its outcome. */
    enum class Wait
    {
        /** Yes, if the reply ends in "Triggered" and nobody sits at a prompt, where the line shows when it comes. */
        IfTriggered,
        Always,
        Never
    };

    bool showHelp = false;
    std::chrono::seconds timeout{5};
    Wait wait = Wait::IfTriggered;
    std::chrono::seconds waitTimeout{15 * 60};
    /** The command; none: commands are read from standard input. */
    std::vector<std::string> words;
};

/**
 * Reads the arguments that follow the program's name. Not to be called by two threads at a time.
 *
 * @throws std::invalid_argument with one line for the user
 */
Options ParseOptions(std::vector<std::string> arguments);

/** The text of --help. */
extern const char kHelpText[];
