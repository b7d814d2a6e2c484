#!/bin/sh
# dfs-mpstat.sh: what each CPU does in one second.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/interrupts /proc/softirqs
run "use of each CPU over one second" "mpstat -P ALL 1 1"
if ! have mpstat; then
    show /proc/stat
    sleep 1
    show /proc/stat
fi
