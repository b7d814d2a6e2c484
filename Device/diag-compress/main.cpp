#include "FileCompressor.h"
#include "StartEnvironment.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

// `diag-compress FILE`. As the interpreter of a script whose first line is `#!/opt/Vantor/bin/diag-compress --script`,
// it is called with `--script SCRIPT FILE`, see execve(2).
int main(int argc, char** argv)
{
    constexpr int kFailure = 1;
    constexpr int kUsage = 2;
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() >= 2 && words.front() == "--script") {
        words.erase(words.begin(), words.begin() + 2);
    }
    if (words.size() != 1) {
        std::fputs("diag-compress: one path is expected\n", stderr);
        return kUsage;
    }
    try {
        DiagSeal::PrepareProcess();
        DiagSeal::CompressFile(words.front());
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "diag-compress: %s\n", error.what());
        return kFailure;
    }
}
