#!/bin/sh
# LayoutsTest.sh DFS_OPEN KEY EARLIER_SCRIPTS: dfs-open opens what the device's programs pack, and what the shell scripts
# before them have packed, of the same input.
. "${0%/*}/../../Device/assert.sh"
head -c 300000 /dev/urandom >/tmp/random
cd /mnt/nv/product-persistence || exit 1

# pack LAYOUT EXPECTED_STATUS: makes an archive with the scripts that are installed, and extracts it to /tmp/LAYOUT.
pack() {
    encrypt-logs seq 200000 >dfs_log
    encrypt-logs sh -c 'echo out; echo err >&2; exit 3' >dfs_failing
    encrypt-logs true >dfs_nothing
    dfs-encrypt-existing-file.sh /tmp/random >dfs_file
    dfs-encrypt-string.sh '{"payload":"100% \n"}' >dfs_text
    items=
    for name in dfs_*; do
        compress-diag-file.sh "$name"
        items="$items${items:+,}{\"filename\":\"$name\",\"type\":\"TOP\",\"subType\":\"$name\"}"
    done
    printf '{"UploadManifest":{"item":[%s],"version":1}}' "$items" >dfs_uploadmanifest.json
    tar-compress-diag-files.sh dfs_uploadmanifest.json dfs_*.gz dfs_gone.gz 2>/tmp/err
    "$dfs_open" dfs_diagfile.tar.gz --key "$key" --extract "/tmp/$1" >"/tmp/$1.table"
    equal "status of the $1 layout" "$2" "$?"
    equal "whole items of the $1 layout" 5 "$(grep -c '  whole$' "/tmp/$1.table")"
    rm dfs_*
}

dfs_open=$1
key=$2
pack present 1
equal "faults of the present layout" "the device has left out: dfs_gone.gz, -, no regular file of $PWD" \
    "$(grep left "/tmp/present.table")"
cp -R "$3/." /opt/Vantor/
pack earlier 0

# The one difference: how a command has ended is told.
echo "diag-seal: the command ended with exit status 3" >>/tmp/earlier/dfs_failing
equal "what differs" "" "$(diff -r /tmp/earlier /tmp/present 2>&1)"
check "the file" cmp /tmp/random /tmp/present/dfs_file

finish_tests
