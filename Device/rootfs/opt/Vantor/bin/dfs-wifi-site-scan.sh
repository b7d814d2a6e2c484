#!/bin/sh
# dfs-wifi-site-scan.sh: the wireless networks in reach.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

show /proc/net/wireless
found=
for wireless in /sys/class/net/*/phy80211 /sys/class/net/*/wireless; do
    [ -e "$wireless" ] || continue
    interface=${wireless%/*}
    interface=${interface##*/}
    case " $found " in *" $interface "*) continue ;; esac
    found="$found $interface"
    run "networks in reach of $interface" "iw dev $interface scan" "iwlist $interface scan" \
        "wpa_cli -i $interface scan_results"
done
if [ -z "$found" ]; then
    section "networks in reach"
    echo "this device has no wireless interface"
fi
