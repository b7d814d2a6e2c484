#include <exception>
#include <iostream>
#include <stdexcept>

#include "CommandLoop.h"
#include "Console.h"
#include "Options.h"

int main(int argc, char** argv)
{
    try {
        const Options options = ParseOptions({argv + 1, argv + argc});
        if (options.showHelp) {
            std::cout << kHelpText;
            return 0;
        }
        const ExitStatus status =
            options.words.empty() ? RunCommandLoop(options) : Console(options, false).Run(options.words);
        return static_cast<int>(status);
    } catch (const std::invalid_argument& error) {
        std::cerr << "vcli: " << error.what() << std::endl;
        return static_cast<int>(ExitStatus::WrongUsage);
    } catch (const std::exception& error) {
        std::cerr << "vcli: " << error.what() << std::endl;
        return static_cast<int>(ExitStatus::NoService);
    }
}
