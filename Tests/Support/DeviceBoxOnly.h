#pragma once

#include <cstdlib>
#include <iostream>
#include <unistd.h>

/**
 * To be called first in a test program's main: outside a device box, where it would write to this machine's own
 * /opt/Vantor, /mnt/nv and /run, it ends the process with a line on standard error and exit status 1.
 */
inline void RequireDeviceBox()
{
    // Where the box lays its root together. No other root file system has it.
    if (access("/.layers", F_OK) != 0) {
        std::cerr << "This program writes to the device's paths and runs in a device box only: use ./dev test, or "
                     "./dev box -- PROGRAM\n";
        std::_Exit(EXIT_FAILURE);
    }
}
