#!/bin/sh
# dfs-encrypt-string.sh TEXT...: writes the text (several arguments are joined with blanks), compressed and encrypted to
# the diagnostics recipient.
# shellcheck source=../lib/diag-encrypt.sh
. /opt/Vantor/lib/diag-encrypt.sh

[ $# -gt 0 ] || fail "no text is given"
seal_string "$*"
