# shellcheck shell=sh disable=SC2034,SC2154  # $status is for the test, $key is the test's
# What the tests of the device's scripts share. Sourced; a failed check is told with its reason, and finish_tests judges.

[ -d /.layers ] || { echo "$0: this writes to the device's paths and is for a device box only" >&2; exit 1; }

failures=0

fail() {
    failures=$((failures + 1))
    printf 'FAILED: %s\n' "$*" >&2
}

# check WHAT COMMAND...: the command must succeed.
check() {
    what=$1
    shift
    "$@" || fail "$what: $*"
}

# refute WHAT COMMAND...: the command must fail.
refute() {
    what=$1
    shift
    ! "$@" || fail "$what: $*"
}

# equal WHAT EXPECTED ACTUAL
equal() {
    [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
}

# refused COMMAND...: the command must fail, with nothing on standard output and one line on standard error.
refused() {
    ! "$@" >/tmp/out 2>/tmp/err || fail "not refused: $*"
    equal "output and lines of error of: $*" "0 1" "$(wc -c </tmp/out) $(wc -l </tmp/err)"
}

# running WORD: whether a process is alive whose command line holds WORD.
running() {
    for process in /proc/[0-9]*; do
        case ${process#/proc/} in 1 | "$$") continue ;; esac
        case $(tr '\0' ' ' <"$process/cmdline") in *"$1"*) return 0 ;; esac
    done 2>/dev/null
    return 1
}

# gone WORD: within ten seconds there is no such process.
gone() {
    tries=200
    while running "$1" && [ "$tries" -gt 0 ]; do
        tries=$((tries - 1))
        sleep 0.05
    done
    [ "$tries" -gt 0 ] || fail "still alive after ten seconds: $1"
}

# seal COMMAND...: as the service runs it: both streams go into one file, and SIGPIPE is ignored. Sets $status; the file
# "plain" is what the recipient, with the private key in $key, reads.
seal() {
    (
        trap '' PIPE
        exec "$@"
    ) >sealed 2>&1
    status=$?
    openssl cms -decrypt -binary -inform DER -inkey "$key" -in sealed | gzip -dc >plain
}

# set_bound NAME STATED VALUE: another value for a bound of the encrypting scripts, on this box's copy of them.
set_bound() {
    sed -E -i "s/^$1=$2( |$)/$1=$3\1/" /opt/Vantor/lib/diag-encrypt.sh
    check "bound $1 is $2, and set" grep -q "^$1=$3" /opt/Vantor/lib/diag-encrypt.sh
}

# shadow PROGRAM SCRIPT: from now on PROGRAM is this script; until unshadow.
PATH=/tmp/shadow:$PATH
shadow() {
    mkdir -p /tmp/shadow
    printf '#!/bin/sh\n%s\n' "$2" >"/tmp/shadow/$1"
    chmod +x "/tmp/shadow/$1"
}

unshadow() {
    rm -r /tmp/shadow
}

finish_tests() {
    exit "$((failures > 0))"
}
