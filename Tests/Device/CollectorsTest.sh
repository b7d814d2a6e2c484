#!/bin/sh
# CollectorsTest.sh KEY: each section of each report has its content, whichever tools the device has, and whether or not
# they end.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

# report SCRIPT: the script, with programs from $path only, ends well, complains of nothing outside of its report, and
# calls no program in a way that this program does not know.
report() {
    PATH=$path "/opt/Vantor/bin/$1" >report 2>err
    equal "status and errors of $1 in $path" 0 "$?$(cat err)"
    # No log service runs here, nor may anybody read the kernel's messages.
    refute "report of $1 in $path" \
        grep -E "^[Uu]sage:|(invalid|unrecognized|unknown) option|^([^dl]|df|ls).* ended with exit status" report
    # The samples of /proc/stat stand in for a missing tool.
    check "files before tools in $1" awk '/^==> [^\/]/ { tools = 1 } /^==> \// && !/\/stat </ && tools { exit 1 }' report
}

# content TITLE: the lines of the report's sections of that title.
content() {
    awk -v title="==> $1 <==" '/^==> .* <==$/ { here = $0 == title; next } here && NF' report
}

words() {
    tr -s ' ' '\n' | sort | tr '\n' ' '
}

titles() {
    sed -n 's/^==> \(.*\) <==$/\1/p' report | sort -u
}

# A section of a file holds its lines. Numbers have changed meanwhile.
check_file() {
    if [ -f "$1" ] && [ -r "$1" ]; then
        tail -n 5000 "$1" | grep . | tr -d '0-9 ' | sort -u >lines
        equal "content of $1" "$(cat lines)" "$(content "$1" | tr -d '0-9 ' | sort -u)"
    else
        equal "content of $1" "this device has no $1" "$(content "$1")"
    fi
}

sh -c 'sleep 100; :' --option hunter2 &
echo 'nameserver 198.51.100.53' >/etc/resolv.conf
awk 'BEGIN { for (i = 1; i <= 6000; i++) print "line", i }' >/var/log/messages
mkfifo /var/log/syslog
mkdir -p /sys/class/net/wlan0/phy80211

# The tools of each section, the first of which that the device has is run. REPORT|SECTION|COMMAND LINE[|COMMAND LINE...]
cat >commands <<'TABLE'
uptime|date|date -u
memory-disk|persistence directory|ls -la /mnt/nv/product-persistence
memory-disk|file systems|df -h
memory-disk|inodes|df -i
networking-info|addresses|ip address|ifconfig -a
networking-info|routes|ip route|route -n
networking-info|IPv6 routes|ip -6 route|route -A inet6 -n
networking-info|neighbours|ip neigh|arp -an
networking-info|sockets|ss -tuanp|netstat -tuan
networking-info|wireless interfaces|iw dev|iwconfig
pts-logs|system log|journalctl --boot --no-pager --output=short-iso --lines=5000|logread
pts-logs|kernel messages|dmesg
top|processes|ps -e -o pid,ppid,user:16,stat,psr,ni,pcpu,time,rss,vsz,nlwp,etime,wchan:20,comm --sort=-pcpu|top -b -n 1
mpstat|use of each CPU over one second|mpstat -P ALL 1 1
mpstat|use of the CPUs by each process, over the same second|pidstat -u 1 1
wifi-site-scan|networks in reach of wlan0|iw dev wlan0 scan|iwlist wlan0 scan|wpa_cli -i wlan0 scan_results
TABLE

# What else is in a report. USERLAND|REPORT|files|THEIR PATHS, or |SECTION|A LINE OF ITS CONTENT.
grep -E "^(both|${userland:-debian})\|" >rows <<'TABLE'
both|uptime|files|/proc/uptime /proc/loadavg /proc/sys/kernel/random/boot_id /proc/version /proc/cmdline /opt/Vantor/etc/VantorVersion.json
both|uptime|uptime|^up [0-9]+ days, [0-9]+ hours, [0-9]+ minutes$
both|memory-disk|files|/proc/meminfo /proc/vmstat /proc/swaps /proc/mounts /proc/diskstats
both|networking-info|files|/proc/net/wireless /proc/net/dev /proc/net/sockstat /proc/net/snmp /etc/resolv.conf
both|pts-logs|files|/var/log/messages /var/log/syslog
debian|mpstat|files|/proc/interrupts /proc/softirqs
busybox|mpstat|files|/proc/interrupts /proc/softirqs /proc/stat
both|top|files|/proc/loadavg /proc/pressure/cpu /proc/pressure/memory /proc/pressure/io
debian|top|processes|^ *[0-9]+ +[0-9]+ root +SN? .* [0-9]+:[0-9]+ [a-z_]*sleep +sleep$
busybox|top|processes|^ *[0-9]+ +[0-9]+ root +S ?N? .* [0-9]+% sleep (0|[a-z_]*sleep)$
both|wifi-site-scan|files|/proc/net/wireless
TABLE
path=$PATH
# shellcheck disable=SC2094  # nothing writes to rows
while IFS='|' read -r _ name title pattern; do
    if [ "$title" = files ]; then
        report "dfs-$name.sh"
        refute "an argument of a process in $name" grep hunter2 report
        for file in $pattern; do
            check_file "$file"
        done
        all=$(echo "$pattern" | tr ' ' '\n'; sed 's/^[a-z]*|//' rows | cat - commands | grep "^$name|" | cut -d '|' -f 2 | grep -vx files)
        equal "sections of $name" "$(echo "$all" | sort -u)" "$(titles)"
    else
        content "$title" >lines
        check "$title in $name" grep -qE -e "$pattern" lines
    fi
done <rows

# Command lines in a shape that BusyBox shows on other devices. Where no title tells the columns, nothing is shown.
if [ "${userland:-}" = busybox ]; then
    shadow top 'cat <<LIST
    6 root      hunter2
  PID USER       VSZ STAT COMMAND
    7 root      1396 S N  {tool} /bin/sh /bin/tool hunter2
    8 root      1396 DW   [kworker/0:1]
    9 root      1396 S    -sh hunter2
PID COMMAND
hunter2
LIST'
    report dfs-top.sh
    refute "an argument in another shape" grep hunter2 report
    equal "names of processes" " COMMAND {tool} [kworker/0:1] -sh " \
        "$(content processes | sed 's/ [^ ]*$//; s/.* //' | tr '\n' ' ')"
    unshadow
fi

# A tool that hangs or fails costs its section no more than its bound and a line. HOW|THE LINE
report dfs-memory-disk.sh
titles >all
while IFS='|' read -r how line; do
    shadow df "printf half >&2; $how"
    begin=$(date +%s)
    seal diag-seal command --tool-limit 2 -- dfs-memory-disk.sh
    mv plain report
    check "seconds of two sections: $how" [ "$(($(date +%s) - begin))" -le 8 ]
    equal "sections: $how" "$(cat all)" "$(titles)"
    equal "content: $how" "half df $line " "$(content inodes | tr '\n' ' ')"
    unshadow
done <<'TABLE'
trap "" TERM; sleep 99; sleep 99|did not end within 2 seconds
kill -STOP $$|did not end within 2 seconds
kill -KILL $$|ended with exit status 137
exit 3|ended with exit status 3
TABLE

# A tool that even KILL does not end: whoever waits for it is woken, here by the tool itself.
# shellcheck disable=SC2016  # for the tool
shadow df 'echo half; (sleep 1.1; kill -URG $PPID) >/dev/null 2>&1 & exec sleep 5'
# shellcheck disable=SC2172  # it has no name in each shell
trap '' 64
DIAG_SEAL_TOOL_SECONDS=1 DIAG_SEAL_PID=$$ dfs-memory-disk.sh >report
equal "sections beside what cannot be ended" "$(cat all)" "$(titles)"
equal "content of what cannot be ended" "half df did not end within 1 seconds " "$(content inodes | tr '\n' ' ')"
unshadow

mkdir few
ln -s "$(command -v tail)" few
printf '#!/bin/sh\necho slept\n' >few/sleep
chmod +x few/sleep
path=/tmp/few
report dfs-mpstat.sh
equal "samples of /proc/stat" "cpu0 slept cpu0" "$(grep -oE '^(cpu0|slept)' report | xargs)"
report dfs-top.sh
equal "processes without awk" "this device has no awk" "$(content processes)"
rm -r /sys/class/net/wlan0/phy80211
report dfs-wifi-site-scan.sh
equal "networks in reach" "this device has no wireless interface" "$(content "networks in reach")"
mkdir /sys/class/net/wlan0/phy80211 /sys/class/net/wlan0/wireless
ln -s "$(command -v awk)" few

while IFS='|' read -r name title lines; do
    echo "$lines" | tr '|' '\n' >expected
    tools=$(sed 's/ .*//' expected)
    for tool in $tools; do
        # shellcheck disable=SC2016
        printf '#!/bin/sh\necho "${0##*/} $*"\n' >"few/$tool"
        chmod +x "few/$tool"
    done
    # shellcheck disable=SC2086
    echo "this device has no $(echo $tools | sed 's/ / nor /g')" >>expected
    while read -r line; do
        report "dfs-$name.sh"
        equal "words of $title in $name" "$(echo "$line" | words)" "$(content "$title" | words)"
        rm -f "few/${line%% *}"
    done <expected
done <commands

finish_tests
