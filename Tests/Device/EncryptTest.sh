#!/bin/sh
# EncryptTest.sh KEY: the encrypting scripts by their names, with what the service and its items give them.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

# The service sends both streams into one file.
seal encrypt-logs sh -c 'printf out; printf err >&2; exit 3'
equal "a failing command is an item" "0 outerr diag-seal: the command ended with exit status 3 " \
    "$status $(tr '\n' ' ' <plain)"
openssl cms -cmsout -print -inform DER -in sealed | grep -q 'algorithm: aes-256-cbc ' || fail "another cipher"
seal encrypt-logs printf '%s|' 'a b' '*' "q'\"" '' --help
equal "arguments" "a b|*|q'\"||--help|" "$(cat plain)"
refused encrypt-logs

# Nothing readable reaches a disk: the command looks for its own output, of which there is more than a pipe can hold.
# shellcheck disable=SC2016  # for the inner shell
seal encrypt-logs sh -c 'text=nobody; text=$text-may-read; yes $text 2>/dev/null | head -n 20000
    cd / && grep -rlF $text mnt opt persist root run tmp var'
equal "lines of output, with the files found and the status of the search" 20001 "$(wc -l <plain)"
# shellcheck disable=SC2016,SC3045  # for the inner shell; both shells know this limit
(ulimit -c unlimited && encrypt-logs sh -c 'sh -c "kill -ABRT \$\$"; kill -ABRT $PPID') >/dev/null 2>&1
refute "a core dump" [ -e core ]

head -c 300000 /dev/urandom >random
seal dfs-encrypt-existing-file.sh random
equal "status of a file" 0 "$status"
check "content of a file" cmp random plain
refused dfs-encrypt-existing-file.sh random random

# shellcheck disable=SC2016  # is not expanded
text='{"it'\''s":"C:\new"} $HOME `id` *  '
seal dfs-encrypt-string.sh -- "$text" '' -n
equal "several texts" "-- $text  -n." "$(cat plain; echo .)"
for options in '' 'command --size 1023' 'command --processes 1025' 'command --time-limit 0' 'command --tool-limit nan' \
    'file --kill-delay 3601'; do
    # shellcheck disable=SC2086  # options are words
    refused diag-seal $options -- random
done

# Why an item has failed is in the item's file, where nobody looks, and in the system log.
rm /opt/Vantor/etc/diag-recipient.pem
/usr/bin/busybox syslogd -O /tmp/system-log
check "the reason in the log" timeout 20 sh -c 'until grep -qs "diag-seal: certificate .*: No such file" system-log; do
    encrypt-logs true >item 2>&1; sleep 0.1; done'
refused encrypt-logs touch ran
refute "the command is not run" [ -e ran ]

finish_tests
