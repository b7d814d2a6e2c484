#!/bin/sh
# dfs-memory-disk.sh: memory, file systems and what fills the persistence directory.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/meminfo /proc/vmstat /proc/swaps /proc/mounts /proc/diskstats
run "persistence directory" "ls -la /mnt/nv/product-persistence"
run "file systems" "df -h"
run "inodes" "df -i"
