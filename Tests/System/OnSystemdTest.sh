#!/bin/sh
# The service as it is deployed: its packages on a minimal system that systemd has started. Prints a line for each case.
# Runs in the container of DevKit/box/systemd-box, which lays out /suite.

suite=/suite
unit=DiagnosticFileService.service
storage=/mnt/nv/product-persistence
registry=$storage/DFSDiagItemConfigurationFile.json
key=$suite/diag-recipient.key
certificate=/opt/Vantor/etc/diag-recipient.pem
passed=0
failed=0
export PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root

# result NAME WHY DETAIL: passed if there is no reason why not.
result() {
    if [ -z "$2" ]; then
        passed=$((passed + 1))
        printf 'passed  %-22s %s\n' "$1" "$3"
    else
        failed=$((failed + 1))
        printf 'FAILED  %-22s %s\n' "$1" "$2"
        journalctl -q --no-pager -n 60 >&2
    fi
}

# await SECONDS COMMAND...
await() {
    end=$(($(date +%s) + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$(date +%s)" -lt "$end" ] || return
        sleep 0.2
    done
}

property() { systemctl show -P "$1" "$unit"; }
is_up() { [ "$(property ActiveState)" = active ] && vcli --timeout 1 help | grep -q diagfileservice; }
has_new_process() { is_up && [ "$(property MainPID)" != "$1" ]; }
begin_anew() { systemctl reset-failed "$unit"; systemctl restart "$unit"; await 10 is_up; }

# upload [TYPE]: sets $answer, and $archive to what arrived.
upload() {
    archive=
    touch /tmp/before
    answer=$(vcli --wait=120 diagfileservice upload "$@" 2>&1 | tail -n 1)
    archive=$(find $suite/cloud -name '*.tar.gz' -newer /tmp/before | head -n 1)
}
items() { tar -tzf "$archive" | sed 's/_[0-9]\{14\}//' | sort; }
brings_all() {
    upload
    [ "$answer" = "Upload status code = 200" ] || { echo "answered $answer"; return; }
    items | diff $suite/box.items - >/tmp/difference || { tr '\n' ' ' </tmp/difference; return; }
    dfs-open "$archive" --key $key >/tmp/opened || tail -n 5 /tmp/opened
}

everything() {
    find /etc /opt /usr /var/lib /mnt/nv /run/vantor ! -path '/var/lib/dpkg/*' \
        \( ! -path '/var/lib/systemd/*' -o -path '*/deb-systemd-helper*' \) 2>/dev/null | sort
}

install_packages() {
    everything >/tmp/everything
    dpkg -i $suite/diagnostic-file-service*.deb >/tmp/dpkg 2>&1 || { tail -n 3 /tmp/dpkg; return; }
    await 10 is_up || { echo "not up: $(property Result)"; return; }
    [ -s $registry ] || { echo "no $registry"; return; }
    systemctl is-enabled --quiet $unit || echo "not enabled"
}
result "install" "$(install_packages)" "dpkg -i, and up on an empty /mnt/nv"

why=
systemd-analyze security --offline=yes --threshold=30 --no-pager /lib/systemd/system/$unit >/tmp/exposure 2>&1 ||
    why=$(tail -n 1 /tmp/exposure)
exposure=$(sed -n 's/.*Overall exposure level for [^:]*: \([0-9.]*\).*/\1/p' /tmp/exposure)
result "exposure" "$why" "$exposure, at most 3.0"

systemd-run --quiet --unit=cloud diag-cloud --store $suite/cloud
systemd-run --quiet --unit=gateway gatrix-gateway
cp -R $suite/used-device/. /
await 10 sh -c 'ss -ltn | grep -q :8888 && ss -ltn | grep -q :8084'

no_certificate() {
    upload 16
    [ "$answer" = "Upload status code = 400" ] || echo "answered $answer"
    await 5 sh -c "journalctl -q --no-pager | grep 'diag-seal.*certificate $certificate'" ||
        echo "diag-seal tells no reason"
}
result "no certificate" "$(no_certificate)" "nothing is sent; diag-seal tells why"
cp $suite/diag-recipient.pem $certificate

result "upload of everything" "$(brings_all)" "$(wc -l <$suite/box.items) members, those of the device box, each whole"

custom_file() {
    head -c 3000 /dev/urandom >"$1"
    touch /tmp/before
    gatrix-peer --file "$1" >/tmp/peer 2>&1 || { tail -n 1 /tmp/peer; return; }
    archive=$(find $suite/cloud -name '*.tar.gz' -newer /tmp/before | head -n 1)
    dfs-open "$archive" --key $key --cat custom_file | cmp - "$1"
}
for folder in /tmp /root; do
    result "file in $folder" "$(custom_file $folder/note 2>&1)" "uploaded as it is"
done

killed() {
    before=$(property MainPID)
    vcli --no-wait diagfileservice upload >/dev/null
    await 10 sh -c "ls $storage/dfs_*" || echo "the upload has not begun"
    kill -KILL "$before"
    await 30 has_new_process "$before" || { echo "not up again"; return; }
    brings_all
}
result "kill -9 in an upload" "$(killed)" "up again, and the next upload is complete"

crash_loop() {
    mkdir -p /run/systemd/system/$unit.d
    printf '[Service]\nRestartSec=100ms\n' >/run/systemd/system/$unit.d/fast.conf
    systemctl daemon-reload
    begin_anew
    crashes=0
    while await 10 is_up && [ $crashes -lt 15 ]; do
        before=$(property MainPID)
        kill -KILL "$before"
        crashes=$((crashes + 1))
        [ $crashes -ge 10 ] || await 10 has_new_process "$before"
        await 2 [ "$(property ActiveState)" = failed ]
    done
    [ $crashes -eq 10 ] || echo "gave up after $crashes"
    ! systemctl start $unit 2>/dev/null || echo "a manual start is not refused"
    begin_anew || echo "does not start after reset-failed"
    rm -r /run/systemd/system/$unit.d
    systemctl daemon-reload
}
result "crash loop" "$(crash_loop)" "stays down after 10; a manual start is refused until reset-failed"

full_disk() {
    systemctl stop $unit
    mount -t tmpfs -o size=4m tmpfs /mnt/nv
    cp -R $suite/used-device/mnt/nv/. /mnt/nv
    begin_anew
    before=$(property MainPID)
    cat /dev/zero >/mnt/nv/filler 2>/dev/null
    upload
    [ "$answer" = "Upload status code = 400" ] || echo "answered $answer on a full disk"
    rm /mnt/nv/filler
    brings_all
    [ "$(property MainPID)" = "$before" ] || echo "the service has not survived"
    systemctl stop $unit
    umount /mnt/nv
    begin_anew
}
result "full disk" "$(full_disk)" "answered with 400; complete once there is room"

# What the command prints first: how many filters of system calls it is under, and how many diag-seal.
flood() {
    cp $registry /tmp/registry
    # shellcheck disable=SC2016 # for the command's shell
    echo 'grep -h Seccomp_filters: /proc/self/status /proc/$PPID/status; f() { f & f & wait; }; f' >/root/flood
    echo '{"diagItemConfigList":{"version":1.2,"item":[{"input":"encrypt-logs sh /root/flood","fileType":"TOP",
        "subType":"flood","harvestType":"SCRIPT","outputFilename":"/mnt/nv/product-persistence/dfs_flood.txt"}]}}' >$registry
    begin_anew
    before=$(property MainPID)
    upload
    dfs-open "$archive" --key $key --cat flood >/tmp/flood 2>&1
    grep -q 'it had more than 64 processes' /tmp/flood || tail -n 1 /tmp/flood
    # shellcheck disable=SC2046 # two numbers
    set -- $(sed -n 's/^Seccomp_filters:[^0-9]*//p' /tmp/flood)
    [ "${1:-0}" -gt "${2:-0}" ] || echo "no process is kept in its group: $* filters"
    [ "$(property MainPID)" = "$before" ] || echo "the service has not survived"
    rm /root/flood
    cp /tmp/registry $registry
    begin_anew
}
result "flood of processes" "$(flood)" "ended; what it printed arrived"

oom_kills() {
    group=$(property ControlGroup)
    sed -n 's/^oom_kill //p' "/sys/fs/cgroup$group/memory.events" \
        "/sys/fs/cgroup/memory$group/memory.oom_control" 2>/dev/null
}
# Four incompressible files that fill the largest archive, and one that it then has no room for.
largest_archive() {
    systemctl stop $unit
    cp $registry /tmp/registry
    list=
    for number in 1 2 3 4 5; do
        head -c $((number == 5 ? 63 << 20 : 79 << 19)) /dev/urandom >/root/large$number
        list="$list${list:+,}{\"input\":\"/root/large$number\",\"fileType\":\"TOP\",\"subType\":\"large$number\","
        list="$list\"harvestType\":\"EXISTING_FILE\"}"
    done
    echo "{\"diagItemConfigList\":{\"version\":1.2,\"item\":[$list]}}" >$registry
    begin_anew
    before=$(property MainPID)
    upload
    size=$(stat -c %s "$archive" 2>/dev/null || echo 0)
    kills=$(oom_kills)
    peak=$(sed -n 's/^VmHWM:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$before/status")
    echo "$((size >> 20)) MiB sent, service at $((peak >> 10)) of $(($(property MemoryMax) >> 20)) MiB" >/tmp/detail
    [ "$answer" = "Upload status code = 200" ] || echo "answered $answer"
    [ "$size" -gt $((150 << 20)) ] || echo "an archive of $size bytes"
    [ "$(property MainPID)" = "$before" ] || echo "the service has not survived"
    case $kills in
        0) ;;
        '') echo ", no cap in force here" >>/tmp/detail ;;
        *) echo "$kills processes were ended for memory" ;;
    esac
    systemctl stop $unit
    rm -f /root/large* "$archive"
    cp /tmp/registry $registry
    begin_anew
}
why=$(largest_archive)
result "largest archive" "$why" "$(tr -d '\n' </tmp/detail)"

upgrade() {
    before=$(property MainPID)
    checksum=$(cksum <$registry)
    echo "# edited" >>/opt/Vantor/etc/diag-mask.conf
    dpkg -i $suite/later.deb >/tmp/dpkg 2>&1 || { tail -n 3 /tmp/dpkg; return; }
    await 10 has_new_process "$before" || echo "the new version does not run"
    [ "$(cksum <$registry)" = "$checksum" ] || echo "$registry has changed"
    grep -q '^# edited' /opt/Vantor/etc/diag-mask.conf || echo "the edited rules are gone"
    [ -s $certificate ] || echo "the certificate is gone"
    brings_all
}
result "upgrade" "$(upgrade)" "restarted; items, rules and certificate are kept"

purge() {
    dpkg -r diagnostic-file-service >/tmp/dpkg 2>&1 || tail -n 3 /tmp/dpkg
    ! is_up 2>/dev/null || echo "runs on after its removal"
    [ -s $registry ] || echo "$registry is gone with remove"
    dpkg -P diagnostic-file-service diagnostic-file-service-devkit >/tmp/dpkg 2>&1 || tail -n 3 /tmp/dpkg
    # The product's own, which the cases have laid there.
    (cd $suite/used-device && find . ! -type d) | while read -r file; do rm -f "/$file"; done
    rm -f $certificate
    find /opt/Vantor /mnt/nv -depth -mindepth 1 -type d -empty -delete 2>/dev/null
    rmdir /opt/Vantor 2>/dev/null
    everything | diff /tmp/everything - | tr '\n' ' '
}
result "purge" "$(purge)" "leaves nothing"

echo "$passed passed, $failed failed"
