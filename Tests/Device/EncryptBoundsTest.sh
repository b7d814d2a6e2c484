#!/bin/sh
# EncryptBoundsTest.sh KEY: what a command may cost: its output, its time, and what it leaves behind.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

set_bound grace 0.5

# What a command leaves behind holds the output open: it is waited for shortly. A session of its own saves its life.
begin=$(seconds_up)
encrypt sh -c 'echo kept; sleep 1001 & exit 4'
equal "status and output, with a process left behind" "4 kept" "$status $(cat plain)"
encrypt sh -c 'echo kept; setsid sleep 1004 & exit 5'
equal "status and output, with a daemon" "5 kept" "$status $(cat plain)"
check "neither is waited for" [ $(($(seconds_up) - begin)) -lt 20 ]
eventually "what was left behind is ended" gone "sleep 1001"
check "the daemon lives on" running "sleep 1004"
set_bound kill_delay 0.2

# More output than the bound.
set_bound command_blocks 2
head -c 200000 /dev/urandom >random
head -c 131073 random >long
head -c 131072 random >longest
encrypt dd if=longest of=/dev/stdout bs=1000 status=none
equal "status at the bound" 0 "$status"
check "output at the bound is whole" cmp longest plain
for command in 'cat long' 'cat random; exit 3' 'cat random; yes' \
    'trap "" TERM PIPE; cat random; while :; do echo more; done 2>/dev/null'; do
    encrypt sh -c "$command"
    equal "status beyond the bound: $command" 0 "$status"
    head -c 131072 plain >start
    check "start of: $command" cmp longest start
    equal "end of: $command" "encrypt-logs: cut here, after the first 131072 bytes" "$(tail -c +131074 plain)"
done
eventually "no endless command goes on" gone "echo more"

# More time than the bound.
set_bound time_limit 1
cut_line="encrypt-logs: cut here, the command was ended after 1 seconds"
for command in 'sleep 1002' 'trap "" TERM; sleep 1002 & sleep 1002' \
    'timeout 1002 sleep 1002; : in a process group of its own' 'exec >/dev/null 2>&1; sleep 1002'; do
    encrypt sh -c "echo kept; $command"
    equal "status of: $command" 0 "$status"
    equal "output of: $command" "kept  $cut_line" "$(tr '\n' ' ' <plain | sed 's/ $//')"
    eventually "nothing is left of: $command" gone 1002
done

# A command that not even KILL ends, as one that waits for a dead device.
echo 'signal_session() { :; }' >>/opt/Vantor/lib/diag-encrypt.sh
encrypt sh -c 'echo kept; sleep 1003'
equal "status and end with a command that cannot be ended" "0 $cut_line" "$status $(tail -n 1 plain)"

finish_tests
