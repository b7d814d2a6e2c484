#!/bin/sh
# dfs-pts-logs.sh: the end of the system log and of the kernel's messages.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /var/log/messages /var/log/syslog
run "system log" "journalctl --boot --no-pager --output=short-iso --lines=$max_lines" "logread"
run "kernel messages" "dmesg"
