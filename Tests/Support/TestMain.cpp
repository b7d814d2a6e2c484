// The main program of every GoogleTest program.

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <unistd.h>

int main(int argc, char* argv[])
{
    testing::InitGoogleMock(&argc, argv);
    // Where the box lays its root together. The names of the cases are for anybody.
    if (access("/.layers", F_OK) != 0 && !testing::GTEST_FLAG(list_tests)) {
        std::cerr << "This program writes to the device's paths and runs in a device box only: use ./dev test, or "
                     "./dev box -- PROGRAM\n";
        return EXIT_FAILURE;
    }
    return RUN_ALL_TESTS();
}
