#!/bin/sh
# dfs-memory-disk.sh: memory, file systems and what fills the persistence directory.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

run "memory in MiB" "free -m"
show /proc/meminfo /proc/vmstat /proc/swaps
run "file systems" "df -h"
run "inodes" "df -i"
run "persistence directory" "ls -la /mnt/nv/product-persistence"
show /proc/mounts /proc/diskstats
