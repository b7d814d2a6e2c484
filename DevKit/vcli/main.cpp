#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "CommandLoop.h"
#include "Console.h"
#include "Options.h"

int main(int argc, char** argv)
{
    try {
        std::string error;
        const auto options = ParseOptions(std::vector<std::string>(argv + 1, argv + argc), error);
        if (!options) {
            std::cerr << "vcli: " << error << "; see vcli --help" << std::endl;
            return static_cast<int>(ExitStatus::WrongUsage);
        }
        if (options->showHelp) {
            std::cout << kHelpText;
            return 0;
        }
        const ExitStatus status =
            options->words.empty() ? RunCommandLoop(*options) : Console(*options, false).Run(options->words);
        return static_cast<int>(status);
    } catch (const std::exception& error) {
        std::cerr << "vcli: " << error.what() << std::endl;
        return static_cast<int>(ExitStatus::NoService);
    }
}
