#!/bin/sh
# on-busybox.sh SCRIPT [ARGUMENT...]: makes the box a device whose whole userland, /bin/sh included, is BusyBox, with
# openssl as the one other program; then runs the script.
set -e
[ -d /.layers ] || { echo "on-busybox.sh: this changes /bin and is for a device box only" >&2; exit 1; }
busybox=/usr/bin/busybox
$busybox mkdir /busybox
$busybox --install -s /busybox
$busybox ln -s /usr/bin/openssl $busybox /busybox
$busybox rm /bin /sbin
$busybox mv /busybox /bin
export userland=busybox PATH=/opt/Vantor/bin:/bin
exec sh "$@"
