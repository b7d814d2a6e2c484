# Sourced, behind debian.sh: a virtual board of the target with the packages installed, and how it boots.
# shellcheck shell=bash disable=SC2154  # here, build: of who sources this

readonly time_limit=${BOARD_TIME_LIMIT:-1800} # seconds, of which a boot with an upload takes a PC 40
readonly disk_size=64M
readonly sources=$here/board used_device=$here/../../DevKit/box/used-device

# The root file system with the packages, as an archive. Emulated, a kernel takes long to decompress.
install_packages() {
    # shellcheck disable=SC2016  # for mmdebstrap's shell to expand
    ROOT=$build/board/root.tar PACKAGES=$build/packages mmdebstrap --quiet --variant=custom \
        --architectures="$target_architecture" --skip=update \
        --setup-hook='tar -C "$1" --exclude="./dev/*" -xf "$ROOT"' \
        --customize-hook='mkdir "$1/packages" && cp "$PACKAGES"/*.deb "$1/packages"' \
        --customize-hook='chroot "$1" sh -c "dpkg -i /packages/*.deb >/packages/log 2>&1 || { cat /packages/log; false; }" >&2' \
        --customize-hook='rm -r "$1/packages"' \
        '' - '' | bsdtar --create --format=newc --file=- @- >"$1"
}

# What a board has beside Debian and the packages: the product's own files, and what drives this.
lay_out_files() {
    local layer=$build/layer unit
    rm -rf "$layer"
    mkdir -p "$layer/etc/systemd/system/multi-user.target.wants" "$layer/opt/Vantor/etc" "$layer/mnt/nv" "$layer/board"
    cp -R "$used_device/var" "$used_device/data" "$build/device/persist" "$layer"
    cp "$build/device/opt/Vantor/etc/"{diag-recipient.pem,VantorVersion.json} "$layer/opt/Vantor/etc"
    cp "$build/dev-keys/diag-recipient.key" "$sources"/tasks/* "$layer/board"
    cp "$sources"/*.service "$layer/etc/systemd/system"
    for unit in "$sources"/*.service; do
        ln -s "../${unit##*/}" "$layer/etc/systemd/system/multi-user.target.wants"
    done
    # A login prompt would hang up the line that the system's own messages take.
    ln -s /dev/null "$layer/etc/systemd/system/serial-getty@ttyAMA0.service"
    echo '/dev/vda /mnt/nv ext4 x-systemd.device-timeout=600 0 0' >"$layer/etc/fstab"
    printf '127.0.0.1\tlocalhost\n::1\tlocalhost\n' >"$layer/etc/hosts"
    echo vantor >"$layer/etc/hostname"
    archive "$1" "$layer"
}

make_board() {
    local parts=$build/board
    "$here/image" "$parts"
    echo "target: installing the packages, emulated"
    install_packages "$parts/installed.cpio"
    lay_out_files "$parts/layer.cpio.gz"
    # The kernel unpacks one archive over the other.
    cat "$parts"/{installed.cpio,modules.cpio.gz,layer.cpio.gz} >"$build/board.cpio"
}

# make_disk FILE: the device's storage as it leaves the factory, but for the update state of one in use and a token.
make_disk() {
    rm -f "$1"
    truncate -s "$disk_size" "$1"
    mke2fs -q -t ext4 -d "$used_device/mnt/nv" -E root_owner=0:0 "$1"
}

# set_board TASK DISK RESULTS: sets $board_command, which boots a board for the task. What that finds comes as RESULTS.tar,
# what the kernel says as RESULTS.console.
set_board() {
    local init=/sbin/init
    [ "$1" != later ] || init=/board/without-systemd
    rm -rf "$3" "$3.tar" "$3.console"
    board_command=(
        qemu-system-arm -M virt -cpu cortex-a15 -m 1024 -smp 2 -no-reboot -nic none -display none -monitor none
        -kernel "$build/board/vmlinuz" -initrd "$build/board.cpio"
        -append "console=ttyAMA0 rdinit=$init panic=-1 quiet board.task=$1"
        -drive "if=none,id=nv,format=raw,file=$2" -device "virtio-blk-device,drive=nv"
        -serial "file:$3.console" -chardev "file,id=results,path=$3.tar" -device virtio-serial-device
        -device "virtserialport,chardev=results,name=results"
    )
}

# unpack RESULTS: into a folder of that name.
unpack() {
    rm -rf "$1"
    mkdir -p "$1"
    # Of a board whose clock is wrong, tar would tell.
    tar -C "$1" --warning=no-timestamp -xf "$1.tar"
}

# run_board TASK DISK RESULTS: until it powers off.
run_board() {
    set_board "$@"
    timeout "$time_limit" "${board_command[@]}" || {
        echo "target: the board did not power off in $time_limit s, see $3.console" >&2
        exit 1
    }
    unpack "$3"
}
