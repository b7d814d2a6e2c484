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
