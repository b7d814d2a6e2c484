#!/bin/sh
# CollectorsTest.sh: each collecting script reports, on a bare device and on one that lacks nearly every tool.
. "${0%/*}/assert.sh"

# report SCRIPT WORDS...: the script, with programs from $path only, ends well, complains of nothing outside of its report,
# and the report holds the words.
report() {
    script=$1
    shift
    PATH=$path "/opt/Vantor/bin/$script" >/tmp/report 2>/tmp/err
    equal "status and errors of $script in $path" 0 "$?$(cat /tmp/err)"
    for words; do
        check "report of $script in $path" grep -q -e "$words" /tmp/report
    done
}

path=$PATH
awk 'BEGIN { for (i = 1; i <= 6000; i++) print "line", i }' >/var/log/messages
report dfs-pts-logs.sh "==== system log" "^line 6000$" "^line 1001$" "no /var/log/syslog" "==== kernel messages"
refute "a log beyond its bound" grep -q "^line 1000$" /tmp/report
report dfs-networking-info.sh "127.0.0.1" "==== routes" "no iw nor iwconfig" "lo:"
report dfs-memory-disk.sh "Mem:" "MemTotal:" "==== file systems" "Filesystem"
report dfs-uptime.sh "load average" '"short":"1.0.67"'
report dfs-mpstat.sh "==== use of each CPU" "==== /proc/interrupts"
report dfs-top.sh "PID" "==== /proc/loadavg"
report dfs-wifi-site-scan.sh "no wireless interface"

mkdir /few
ln -s "$(command -v tail)" "$(command -v sleep)" /few
path=/few
rm /var/log/messages
report dfs-pts-logs.sh "no journalctl nor logread" "no /var/log/messages" "no dmesg"
report dfs-networking-info.sh "no ip nor ifconfig" "no ss nor netstat" "lo:"
report dfs-memory-disk.sh "no free" "no df" "MemTotal:"
report dfs-uptime.sh "no uptime" "==== /proc/uptime"
report dfs-mpstat.sh "no mpstat"
equal "samples of /proc/stat" 2 "$(grep -c '^cpu0' /tmp/report)"
report dfs-top.sh "no top nor ps"

finish_tests
