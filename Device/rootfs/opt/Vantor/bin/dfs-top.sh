#!/bin/sh
# dfs-top.sh: the processes, the busiest first, and what they wait for.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

run "processes" "top -b -n 1" "ps"
show /proc/loadavg /proc/pressure/cpu /proc/pressure/memory /proc/pressure/io
