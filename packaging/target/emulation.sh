# Sourced: makes this machine run programs of the target, by qemu's user-mode emulation.
# shellcheck shell=bash

readonly binfmt=/proc/sys/fs/binfmt_misc

# The kernel starts the emulator where it finds a program of the target: tests and scripts start each other as they do
# on the device. Debian registers it at boot; a container, or a machine that has not booted since, has to be told.
need_emulation() {
    [ ! -e $binfmt/qemu-arm ] || return 0
    if [ "$(id -u)" -eq 0 ]; then
        [ -e $binfmt/register ] || mount -t binfmt_misc binfmt_misc $binfmt 2>/dev/null || true
        cat /usr/lib/binfmt.d/qemu-arm.conf 2>/dev/null >$binfmt/register || true
    fi
    [ ! -e $binfmt/qemu-arm ] || return 0
    echo "target: the kernel does not start 32-bit ARM programs by qemu here; as root:" >&2
    echo "    mount -t binfmt_misc binfmt_misc $binfmt; cat /usr/lib/binfmt.d/qemu-arm.conf >$binfmt/register" >&2
    exit 2
}

# runtime SYSROOT FOLDER: what emulated programs see before this machine's own files, their loader and libraries only.
# With the whole sysroot, its empty folders, such as /tmp, would hide those of the device box.
runtime() {
    local sysroot=$1 folder=$2
    mkdir -p "$folder/usr/lib"
    ln -sfnr "$sysroot/lib" "$folder/lib"
    ln -sfnr "$sysroot/usr/lib/arm-linux-gnueabihf" "$folder/usr/lib/arm-linux-gnueabihf"
}
