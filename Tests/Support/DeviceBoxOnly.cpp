#include "DeviceBoxOnly.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

void RequireDeviceBox()
{
    // Where the box lays its root together. No other root file system has it.
    if (access("/.layers", F_OK) != 0) {
        std::cerr << "This program writes to the device's paths and runs in a device box only: use ./dev test, or "
                     "./dev box -- PROGRAM\n";
        std::_Exit(EXIT_FAILURE);
    }
}
