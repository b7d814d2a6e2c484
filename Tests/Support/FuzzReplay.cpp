// Runs a fuzz target once for each file of the folders given: what fuzzing begins with, and what it has found before.

#include "DeviceBoxOnly.h"
#include "FuzzTarget.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int main(int argc, char* argv[])
{
    RequireDeviceBox();
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            // Written before the run: the last name is that of the input that ended it.
            std::cout << entry.path().filename().string() << std::endl;
            std::ifstream file(entry.path(), std::ios::binary);
            CheckInput({std::istreambuf_iterator<char>(file), {}});
            ++count;
        }
    }
    if (count == 0) {
        std::cerr << "there is no input to replay\n";
        return EXIT_FAILURE;
    }
    std::cout << count << " inputs replayed\n";
    return EXIT_SUCCESS;
}
