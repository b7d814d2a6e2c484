#!/bin/sh
# CollectorsTest.sh: each collecting script reports, on a bare device and on one that lacks nearly every tool.
. "${0%/*}/assert.sh"

# report SCRIPT WORDS...: the script, with programs from $path only, ends well, complains of nothing outside of its report,
# calls no program in a way that this program does not know, and the report holds the words.
report() {
    script=$1
    shift
    PATH=$path "/opt/Vantor/bin/$script" >/tmp/report 2>/tmp/err
    equal "status and errors of $script in $path" 0 "$?$(cat /tmp/err)"
    refute "report of $script in $path" grep -E "^[Uu]sage:|(invalid|unrecognized|unknown) option" /tmp/report
    for words; do
        check "report of $script in $path" grep -q -e "$words" /tmp/report
    done
}

/usr/bin/ip route add 198.51.100.0/24 dev lo
/usr/bin/ip -6 route add 2001:db8::/32 dev lo
/usr/bin/ip neigh add 198.51.100.7 lladdr 00:00:5e:00:53:01 dev lo
path=$PATH
awk 'BEGIN { for (i = 1; i <= 6000; i++) print "line", i }' >/var/log/messages
report dfs-pts-logs.sh "==> system log" "^line 6000$" "^line 1001$" "no /var/log/syslog" "==> kernel messages"
refute "a log beyond its bound" grep -q "^line 1000$" /tmp/report
report dfs-networking-info.sh "inet 127.0.0.1" "^198.51.100.0/24" "^2001:db8::/32" "lladdr 00:00:5e" "Local Address" \
    "no iw nor iwconfig" "lo:"
report dfs-memory-disk.sh "Mem:  *[0-9]" "MemTotal:" "^Filesystem .*Size" "^Filesystem .*Inodes" " \.\.$"
report dfs-uptime.sh "load average" '"short":"1.0.67"'
report dfs-mpstat.sh "%idle\|^cpu0" "CPU0  *CPU1\|CPU0$"
report dfs-top.sh "PID" "dfs-top.sh" "^[0-9.]* [0-9.]* [0-9.]* [0-9]*/[0-9]* [0-9]*$"
report dfs-wifi-site-scan.sh "no wireless interface"
shadow df 'echo half; exit 3'
report dfs-memory-disk.sh "^half" "^df ended with exit status 3" "==> /proc/mounts"
unshadow
shadow uptime 'trap "" TERM; echo half; sleep 99; sleep 99'
report dfs-uptime.sh "^half" "^uptime did not end within 10 seconds" '"short":"1.0.67"'
unshadow

mkdir /few
ln -s "$(command -v tail)" "$(command -v sleep)" /few
path=/few
rm /var/log/messages
report dfs-pts-logs.sh "no journalctl nor logread" "no /var/log/messages" "no dmesg"
report dfs-networking-info.sh "no ip nor ifconfig" "no ss nor netstat" "lo:"
report dfs-memory-disk.sh "no free" "no df" "MemTotal:"
report dfs-uptime.sh "no uptime" "==> /proc/uptime"
report dfs-mpstat.sh "no mpstat"
equal "samples of /proc/stat" 2 "$(grep -c '^cpu0' /tmp/report)"
report dfs-top.sh "no top nor ps"

finish_tests
