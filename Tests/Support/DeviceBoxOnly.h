#pragma once

/**
 * To be called first in a test program's main: outside a device box, where it would write to this machine's own
 * /opt/Vantor, /mnt/nv and /run, it ends the process with a line on standard error and exit status 1.
 */
void RequireDeviceBox();
