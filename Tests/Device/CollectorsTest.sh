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
    refute "report of $1 in $path" grep -E "^[Uu]sage:|(invalid|unrecognized|unknown) option" report
}

# content TITLE: the lines of the report's sections of that title.
content() {
    awk -v title="==> $1 <==" '/^==> .* <==$/ { here = $0 == title; next } here && NF' report
}

titles() {
    sed -n 's/^==> \(.*\) <==$/\1/p' report | sort -u
}

# An item of each kind, for the table to find.
/usr/bin/ip route add 198.51.100.0/24 dev lo
/usr/bin/ip -6 route add 2001:db8::/32 dev lo
/usr/bin/ip neigh add 198.51.100.7 lladdr 00:00:5e:00:53:01 dev lo
/usr/bin/busybox nc -l -p 4711 &
/usr/bin/busybox syslogd -C16 -O log
until /usr/bin/busybox logread | grep -q planted; do
    /usr/bin/busybox logger planted
done
sh -c 'sleep 100; :' --option hunter2 &
echo hello >/mnt/nv/product-persistence/planted
echo 'nameserver 198.51.100.53' >/etc/resolv.conf
awk 'BEGIN { for (i = 1; i <= 6000; i++) print "line", i }' >/var/log/messages
mkdir -p /sys/class/net/wlan0/phy80211
shadow iw 'echo "iw $*"'

# USERLAND|REPORT|SECTION|A LINE OF ITS CONTENT
grep -E "^(both|${userland:-debian})\|" >rows <<'TABLE'
both|dfs-uptime.sh|/proc/uptime|^[0-9.]+ [0-9.]+$
both|dfs-uptime.sh|/proc/loadavg|^([0-9.]+ ){3}[0-9]+/[0-9]+ [0-9]+$
both|dfs-uptime.sh|/proc/sys/kernel/random/boot_id|^[0-9a-f]{8}-[0-9a-f-]{27}$
both|dfs-uptime.sh|/proc/version|^Linux version [0-9]
both|dfs-uptime.sh|/proc/cmdline|^console=ttymxc0,115200 
both|dfs-uptime.sh|/opt/Vantor/etc/VantorVersion.json|"short":"1.0.67"
both|dfs-uptime.sh|date|^[A-Z].* UTC 20[0-9]{2}$
both|dfs-uptime.sh|uptime|up .* load average: [0-9.]+, 
both|dfs-memory-disk.sh|/proc/meminfo|^MemAvailable: +[0-9]+ kB$
both|dfs-memory-disk.sh|/proc/vmstat|^pgfault [0-9]+$
both|dfs-memory-disk.sh|/proc/swaps|^Filename\s+Type\s+Size
both|dfs-memory-disk.sh|/proc/mounts|^tmpfs / tmpfs rw
both|dfs-memory-disk.sh|/proc/diskstats|^ +[0-9]+ +[0-9]+ [a-z0-9]+( [0-9]+){11}
both|dfs-memory-disk.sh|memory in MiB|^Mem: +[0-9]{3,6} +[0-9]+ 
both|dfs-memory-disk.sh|persistence directory|^-rw.* root +6 .* planted$
both|dfs-memory-disk.sh|file systems|^tmpfs +[0-9.]+[KMGT] .* [0-9]+% /$
both|dfs-memory-disk.sh|inodes|^tmpfs +[0-9]+ +[0-9]+ +[0-9]+ +[0-9]+% /$
both|dfs-networking-info.sh|/proc/net/wireless|^this device has no /proc/net/wireless$|^Inter-
both|dfs-networking-info.sh|/proc/net/dev|^ +lo:( +[0-9]+){16}$
both|dfs-networking-info.sh|/proc/net/sockstat|^TCP: inuse [0-9]
both|dfs-networking-info.sh|/proc/net/snmp|^Udp: [0-9]
both|dfs-networking-info.sh|/etc/resolv.conf|^nameserver 198.51.100.53$
both|dfs-networking-info.sh|addresses|^ +inet 127.0.0.1/8 
both|dfs-networking-info.sh|routes|^198.51.100.0/24 dev lo
both|dfs-networking-info.sh|IPv6 routes|^2001:db8::/32 dev lo
both|dfs-networking-info.sh|neighbours|dev lo lladdr 00:00:5e:00:53:01 
debian|dfs-networking-info.sh|sockets|^tcp +LISTEN .*:4711 .*"busybox"
busybox|dfs-networking-info.sh|sockets|^tcp .*:4711 .* LISTEN
both|dfs-networking-info.sh|wireless interfaces|^iw dev$
both|dfs-pts-logs.sh|/var/log/messages|^line 1001$
both|dfs-pts-logs.sh|/var/log/messages|^line 6000$
both|dfs-pts-logs.sh|/var/log/syslog|^this device has no /var/log/syslog$
debian|dfs-pts-logs.sh|system log|^-- No entries --$
busybox|dfs-pts-logs.sh|system log| root: planted$
both|dfs-pts-logs.sh|kernel messages|^\[ *[0-9]+\.[0-9]+\] |^dmesg ended with exit status 1$
both|dfs-mpstat.sh|/proc/interrupts|^ *[0-9A-Z]+: +[0-9]+ 
both|dfs-mpstat.sh|/proc/softirqs|^ +TIMER: +[0-9]+
debian|dfs-mpstat.sh|use of each CPU over one second|^Average: +0( +[0-9]+\.[0-9]+){10}$
busybox|dfs-mpstat.sh|use of each CPU over one second|^this device has no mpstat$
busybox|dfs-mpstat.sh|/proc/stat|^cpu0( [0-9]+){10}$
both|dfs-top.sh|/proc/loadavg|^([0-9.]+ ){3}[0-9]+/[0-9]+ [0-9]+$
both|dfs-top.sh|/proc/pressure/cpu|^some avg10=|^this device has no
both|dfs-top.sh|/proc/pressure/memory|^some avg10=|^this device has no
both|dfs-top.sh|/proc/pressure/io|^some avg10=|^this device has no
debian|dfs-top.sh|processes|^ *PID USER .* S +%CPU +%MEM +TIME\+ COMMAND WCHAN$
debian|dfs-top.sh|processes|^ *[0-9]+ root .* S .* [0-9]+:[0-9.]+ sleep (0|[a-z_]*sleep)$
busybox|dfs-top.sh|processes|^ *PID +PPID USER +STAT .* %CPU COMMAND WCHAN$
busybox|dfs-top.sh|processes|^ *[0-9]+ +[0-9]+ root +S .* [0-9]+% sleep (0|[a-z_]*sleep)$
both|dfs-wifi-site-scan.sh|networks in reach of wlan0|^iw dev wlan0 scan$
both|dfs-wifi-site-scan.sh|/proc/net/wireless|^this device has no /proc/net/wireless$|^Inter-
TABLE
path=$PATH
last=
# shellcheck disable=SC2094  # both read
while IFS='|' read -r _ script title pattern; do
    if [ "$script" != "$last" ]; then
        report "$script"
        equal "sections of $script" "$(awk -F '|' -v script="$script" '$2 == script { print $3 }' rows | sort -u)" \
            "$(titles)"
        refute "an argument of a process in $script" grep hunter2 report
        last=$script
    fi
    content "$title" >lines
    check "content of $title in $script" grep -qE -e "$pattern" lines
    ! grep -q "^this device has no" lines || equal "lines of $title in $script" 1 "$(wc -l <lines)"
done <rows
report dfs-pts-logs.sh
refute "a log beyond its bound" grep -q "^line 1000$" report
unshadow

# Command lines in a shape that BusyBox shows on other devices.
shadow top 'cat <<LIST
  PID USER       VSZ STAT COMMAND
    7 root      1396 S N  {tool} /bin/sh /bin/tool hunter2
    8 root      1396 DW   [kworker/0:1]
    9 root      1396 S    -sh hunter2
LIST'
report dfs-top.sh
equal "names of processes" "COMMAND {tool} [kworker/0:1] -sh " \
    "$(content processes | sed 's/ [^ ]*$//; s/.* //' | tr '\n' ' ')"
unshadow

# A tool that hangs costs its section no more than its bound and a line.
sed -i 's/^tool_seconds=.*/tool_seconds=1/' /opt/Vantor/lib/diag-report.sh
report dfs-memory-disk.sh
titles >all
# shellcheck disable=SC2016  # for the tool's shell
for hang in 'sleep 99' 'trap "" TERM; sleep 99; sleep 99' 'kill -STOP $$'; do
    shadow df "echo half; $hang"
    begin=$(date +%s)
    report dfs-memory-disk.sh
    check "seconds of two that hang" [ "$(($(date +%s) - begin))" -le 5 ]
    equal "sections beside one that hangs" "$(cat all)" "$(titles)"
    equal "content of one that hangs" "half df did not end within 1 seconds " "$(content inodes | tr '\n' ' ')"
done
shadow df 'echo half; exit 3'
report dfs-memory-disk.sh
equal "content of one that fails" "half df ended with exit status 3 " "$(content inodes | tr '\n' ' ')"
shadow df 'kill -KILL $$'
report dfs-memory-disk.sh
equal "content of one that is killed" "df ended with exit status 137" "$(content inodes)"
unshadow

# The options of BusyBox's timeout until 1.29: each tool runs, though unbounded, and this is found out once.
# shellcheck disable=SC2016
shadow timeout 'while getopts t:s: option; do :; done; shift $((OPTIND - 1)); exec "$@"'
report dfs-memory-disk.sh
equal "sections with an old timeout" "$(cat all)" "$(titles)"
equal "lines about an old timeout" 1 "$(grep -c "not found" report)"
check "a tool with an old timeout" grep -q "^Mem: " report
unshadow

mkdir few
ln -s "$(command -v tail)" few
printf '#!/bin/sh\n' >few/sleep
chmod +x few/sleep
path=/tmp/few
rm /var/log/messages
report dfs-top.sh
equal "processes without a filter" "this device has no awk" "$(content processes)"
ln -s "$(command -v awk)" few
report dfs-mpstat.sh
equal "samples of /proc/stat" 2 "$(grep -c '^cpu0' report)"

# The first of the tools that the device has is run, with its options. REPORT|SECTION|COMMAND LINE[|COMMAND LINE...]
while IFS='|' read -r script title lines; do
    tools=$(echo "$lines" | tr '|' '\n' | sed 's/ .*//')
    for tool in $tools; do
        # shellcheck disable=SC2016
        printf '#!/bin/sh\necho "${0##*/} $*"\n' >"few/$tool"
        chmod +x "few/$tool"
    done
    echo "$lines" | tr '|' '\n' >expected
    while read -r line; do
        report "$script"
        equal "$title of $script" "$line" "$(content "$title" | sed 's/ $//')"
        rm "few/${line%% *}"
    done <expected
    report "$script"
    # shellcheck disable=SC2086
    equal "$title of $script" "this device has no $(echo $tools | sed 's/ / nor /g')" "$(content "$title")"
done <<'TABLE'
dfs-uptime.sh|date|date -u
dfs-uptime.sh|uptime|uptime
dfs-memory-disk.sh|memory in MiB|free -m
dfs-memory-disk.sh|persistence directory|ls -la /mnt/nv/product-persistence
dfs-memory-disk.sh|file systems|df -h
dfs-memory-disk.sh|inodes|df -i
dfs-networking-info.sh|addresses|ip address|ifconfig -a
dfs-networking-info.sh|routes|ip route|route -n
dfs-networking-info.sh|IPv6 routes|ip -6 route|route -A inet6 -n
dfs-networking-info.sh|neighbours|ip neigh|arp -an
dfs-networking-info.sh|sockets|ss -tuanp|netstat -tuan
dfs-networking-info.sh|wireless interfaces|iw dev|iwconfig
dfs-pts-logs.sh|system log|journalctl --boot --no-pager --output=short-iso --lines=5000|logread
dfs-pts-logs.sh|kernel messages|dmesg
dfs-mpstat.sh|use of each CPU over one second|mpstat -P ALL 1 1
dfs-top.sh|processes|top -b -n 1|ps
dfs-wifi-site-scan.sh|networks in reach of wlan0|iw dev wlan0 scan|iwlist wlan0 scan|wpa_cli -i wlan0 scan_results
TABLE
rm -r /sys/class/net/wlan0
report dfs-wifi-site-scan.sh
equal "networks in reach" "this device has no wireless interface" "$(content "networks in reach")"

# Without timeout, the bound of the whole item remains.
printf '#!/bin/sh\nexec /usr/bin/sleep 99\n' >few/df
chmod +x few/df
seal env PATH=/tmp/few /opt/Vantor/bin/diag-seal command --time-limit 1 -- /opt/Vantor/bin/dfs-memory-disk.sh
check "what cannot hang" grep -q "^MemAvailable:" plain
equal "the last lines" "==> file systems <== diag-seal: the command was ended after 1 seconds " \
    "$(tail -n 2 plain | tr '\n' ' ')"

finish_tests
