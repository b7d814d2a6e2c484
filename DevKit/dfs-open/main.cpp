#include "DfsOpen.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    try {
        const DfsOpen::Options options = DfsOpen::ParseOptions({argv + 1, argv + argc});
        return static_cast<int>(DfsOpen::Run(options, std::cout, std::cerr));
    } catch (const std::exception& error) {
        std::cerr << "dfs-open: " << error.what() << '\n';
        return static_cast<int>(DfsOpen::ExitStatus::kCannot);
    }
}
