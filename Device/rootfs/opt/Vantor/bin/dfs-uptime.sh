#!/bin/sh
# dfs-uptime.sh: how long the device has been up, with which software.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/uptime /proc/loadavg /proc/sys/kernel/random/boot_id /proc/version /proc/cmdline
show /opt/Vantor/etc/VantorVersion.json
run "date" "date -u"
run "uptime" "uptime"
