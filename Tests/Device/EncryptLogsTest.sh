#!/bin/sh
# EncryptLogsTest.sh KEY: a command's output, encrypted, and what may go wrong.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

# What is printed comes out again, and the exit status is the command's.
seal encrypt-logs sh -c 'printf out; printf err >&2; exit 3'
equal "status and both streams" "3 outerr" "$status $(cat plain)"
openssl cms -cmsout -print -inform DER -in sealed | grep -q 'algorithm: aes-256-cbc ' || fail "another cipher"

head -c 300000 /dev/urandom >random
seal encrypt-logs cat random
check "binary output" cmp random plain

seal encrypt-logs printf '%s|' 'a b' '*' "q'\"" ''
equal "arguments" "a b|*|q'\"||" "$(cat plain)"

seal encrypt-logs cat
equal "a command that reads finds no input" "0 " "$status $(cat plain)"

seal encrypt-logs no-such-program
equal "status of a command that is not there" 127 "$status"
check "its name is told" grep -q no-such-program plain

# Nothing readable reaches a disk: the command looks for its own output, of which there is more than a pipe can hold.
# shellcheck disable=SC2016  # for the inner shell
seal encrypt-logs sh -c 'text=nobody; text=$text-may-read; yes $text 2>/dev/null | head -n 20000
    cd / && grep -rlF $text mnt opt persist root run tmp var'
equal "status of a search that finds nothing" 1 "$status"
equal "lines of output, with the files found" 20000 "$(wc -l <plain)"

# Nobody takes the output: a failure, and at once: a command that went on to its bound would outlast this test's time.
for stage in openssl gzip; do
    shadow "$stage" '! head -c 1000 | grep -q ""' # what the certificate is tried with is empty
    refute "$stage that fails midway" encrypt-logs yes >sealed 2>err
    equal "$stage: lines of error" 1 "$(wc -l <err)"
    unshadow
done
refute "a full disk" sh -c 'encrypt-logs yes >/dev/full 2>err'
refute "a full disk and little to write" sh -c 'encrypt-logs echo >/dev/full 2>err'
gone yes
refute "a command whose end is not seen" encrypt-logs sh -c "sleep 0.2; kill -KILL \$PPID" >sealed 2>err

# Without a usable certificate nothing is run, nor without a command.
refused encrypt-logs
recipient=/opt/Vantor/etc/diag-recipient.pem
mkdir folder
sed '5,6d' "$recipient" >damaged
for certificate in missing folder damaged; do
    rm -rf "$recipient"
    cp -r "$certificate" "$recipient" 2>/dev/null
    refused encrypt-logs touch ran
done
refute "the command is not run" [ -e ran ]

finish_tests
