#!/usr/bin/env bash
# Runs what the README tells to type in a used device's box, and looks for the two uploads in the cloud.
# usage: ReadmeTest.sh README BUILD_DIRECTORY SECONDS
set -euo pipefail

block=$(awk '/`\.\/dev box --used` gives/ { here = 1 } here && /^```/ { ++fence; next } fence == 1' "$1")
block=${block//build\/debug/$2}
[ "$(grep -c . <<<"$block")" -ge 5 ] || { echo "no block of commands found" >&2; exit 1; }
# To a file: the programs in the background would keep a pipe open.
timeout $(($3 - 10)) bash -c "$block" >/tmp/output 2>&1 || { echo "failed with $?"; cat /tmp/output; exit 1; }
cat /tmp/output
if grep 'not found' /tmp/output; then exit 1; fi
grep -qx 'Upload status code = 200' /tmp/output
grep -qx '14 items, all whole' /tmp/output
archives=$(find /tmp/cloud -name '*.tar.gz' | wc -l)
[ "$archives" -eq 2 ] || { echo "$archives archives arrived, not 2"; exit 1; }
