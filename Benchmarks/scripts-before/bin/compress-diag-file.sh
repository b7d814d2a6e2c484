#!/bin/sh
# compress-diag-file.sh FILE: replaces FILE by FILE.gz, whatever FILE's name ends in: gzip reads standard input, as many
# versions of it refuse a file whose name looks compressed. The lowest level: what the service collects is compressed and
# encrypted already.

fail() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    exit 1
}

[ $# -eq 1 ] || fail "one file is expected, $# are given"
[ -f "$1" ] || fail "$1 is not a regular file"
trap 'rm -f -- "$1.gz"; exit 1' HUP INT TERM
if ! gzip -1 -c <"$1" >"$1.gz"; then
    rm -f -- "$1.gz"
    fail "$1 is not compressed and stays as it is"
fi
trap - HUP INT TERM
rm -f -- "$1"
