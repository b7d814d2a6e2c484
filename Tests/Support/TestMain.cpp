// The main program of every GoogleTest program.

#include "DeviceBoxOnly.h"

#include <gmock/gmock.h>

int main(int argc, char* argv[])
{
    testing::InitGoogleMock(&argc, argv);
    // The names of the cases are for anybody.
    if (!testing::GTEST_FLAG(list_tests)) {
        RequireDeviceBox();
    }
    return RUN_ALL_TESTS();
}
