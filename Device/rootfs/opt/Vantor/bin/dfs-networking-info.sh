#!/bin/sh
# dfs-networking-info.sh: interfaces, routes, neighbours, sockets and name servers.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/net/wireless /proc/net/dev /proc/net/sockstat /proc/net/snmp /etc/resolv.conf
run "addresses" "ip address" "ifconfig -a"
run "routes" "ip route" "route -n"
run "IPv6 routes" "ip -6 route" "route -A inet6 -n"
run "neighbours" "ip neigh" "arp -an"
run "sockets" "ss -tuanp" "netstat -tuan"
run "wireless interfaces" "iw dev" "iwconfig"
