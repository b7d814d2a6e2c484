#include <unistd.h>

#include <exception>
#include <iostream>
#include <stdexcept>

#include "Options.h"
#include "Peer.h"

int main(int argc, char** argv)
{
    try {
        const Options options = ParseOptions({argv + 1, argv + argc});
        if (options.showHelp) {
            std::cout << kHelpText;
            return 0;
        }
        Peer peer(options);
        if (!peer.WaitUntilReady()) {
            std::cerr << "gatrix-peer: the gateway or the diagnostic-file service did not come in time" << std::endl;
            return 3;
        }
        const bool hasSucceeded = peer.WaitForAnswer();
        while (options.isStaying) {
            pause();
        }
        return hasSucceeded ? 0 : 1;
    } catch (const std::invalid_argument& error) {
        std::cerr << "gatrix-peer: " << error.what() << std::endl;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "gatrix-peer: " << error.what() << std::endl;
        return 1;
    }
}
