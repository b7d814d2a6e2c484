#!/bin/sh
# dfs-uptime.sh: how long the device has been up, with which software.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/uptime /proc/loadavg /proc/sys/kernel/random/boot_id /proc/version /proc/cmdline \
    /opt/Vantor/etc/VantorVersion.json
section "uptime"
now
echo "up $((now / 86400)) days, $((now / 3600 % 24)) hours, $((now / 60 % 60)) minutes"
run "date" "date -u"
