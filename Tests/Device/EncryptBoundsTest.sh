#!/bin/sh
# EncryptBoundsTest.sh KEY: what a command may cost: its output, its time, and what it leaves behind.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

set_bound grace 2 0.5

# What a command leaves behind holds the output open: it is waited for shortly, not for longer than this test may take. A
# session of its own saves its life.
seal encrypt-logs sh -c 'echo kept; sleep 1001 & timeout 1001 sleep 1001 & setsid sleep 1004 & exit 4'
equal "status and output, with processes left behind" "4 kept" "$status $(cat plain)"
gone "sleep 1001"
check "the daemon lives on" running "sleep 1004"
set_bound kill_delay 5 0.2

# More output than the bound.
set_bound command_blocks 256 2
head -c 200000 /dev/urandom >random
head -c 131072 random >longest
seal encrypt-logs dd if=longest of=/dev/stdout bs=1000 status=none
equal "status at the bound" 0 "$status"
check "output at the bound is whole" cmp longest plain
for command in 'head -c 131073 random' 'cat random; exit 3' \
    'trap "" TERM PIPE; cat random; while :; do echo more; done 2>/dev/null'; do
    seal encrypt-logs sh -c "$command"
    equal "status beyond the bound: $command" 0 "$status"
    { cat longest; printf '\n%s\n' "encrypt-logs: cut here, after the first 131072 bytes"; } >expected
    check "output of: $command" cmp expected plain
done
gone "echo more"

# More time than the bound.
set_bound time_limit 60 1
cut_line="encrypt-logs: cut here, the command was ended after 1 seconds"
for command in 'trap "" TERM; sleep 1002 & sleep 1002' \
    'timeout 1002 sleep 1002; : in a process group of its own' 'exec >/dev/null 2>&1; sleep 1002'; do
    seal encrypt-logs sh -c "echo kept; $command"
    equal "status and output of: $command" "0 kept  $cut_line" "$status $(tr '\n' ' ' <plain | sed 's/ $//')"
    gone 1002
done

# A command that not even KILL ends, as one that waits for a dead device.
echo 'signal_session() { :; }' >>/opt/Vantor/lib/diag-encrypt.sh
seal encrypt-logs sh -c 'echo kept; sleep 1003'
equal "status and end with a command that cannot be ended" "0 $cut_line" "$status $(tail -n 1 plain)"

finish_tests
