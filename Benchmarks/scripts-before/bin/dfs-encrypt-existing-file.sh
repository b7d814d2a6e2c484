#!/bin/sh
# dfs-encrypt-existing-file.sh PATH: writes the file's content, compressed and encrypted to the diagnostics recipient.
# shellcheck source=../lib/diag-encrypt.sh
. /opt/Vantor/lib/diag-encrypt.sh

[ $# -eq 1 ] || fail "one path is expected, $# are given"
[ -e "$1" ] || fail "$1 does not exist"
[ -f "$1" ] || fail "$1 is not a regular file"
[ -r "$1" ] || fail "$1 cannot be read"
# Reading is supervised as a command is: a file in /proc, or on a dead device, may block for ever.
seal_output "$file_blocks" cat <"$1"
