#!/bin/sh
# dfs-top.sh: the processes, the busiest first, and what they wait for.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/loadavg /proc/pressure/cpu /proc/pressure/memory /proc/pressure/io
# Names of programs are cut to the width of a terminal otherwise.
export COLUMNS=512
run "processes" "top -b -n 1" "ps"
