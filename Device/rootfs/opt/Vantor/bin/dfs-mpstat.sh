#!/bin/sh
# dfs-mpstat.sh: what each CPU and each process does in one second.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/interrupts /proc/softirqs
# Both sample the same second. What the first one prints waits in the pipe until the second one has ended.
run "use of the CPUs by each process, over the same second" "pidstat -u 1 1" | {
    run "use of each CPU over one second" "mpstat -P ALL 1 1"
    exec tail -n +1
}
if ! have mpstat; then
    show /proc/stat
    sleep 1
    show /proc/stat
fi
