#!/bin/sh
# LayoutsTest.sh DFS_OPEN KEY EARLIER_SCRIPTS: dfs-open opens what the device's programs pack, and what the shell scripts
# before them have packed, of the same input.
. "${0%/*}/../../Device/assert.sh"
cd /mnt/nv/product-persistence || exit 1

# pack LAYOUT: makes an archive with the scripts that are installed, and extracts it to /tmp/LAYOUT.
pack() {
    encrypt-logs seq 200000 >dfs_log
    encrypt-logs sh -c 'echo out; echo err >&2; exit 3' >dfs_failing
    dfs-encrypt-existing-file.sh /usr/bin/busybox >dfs_file
    for name in dfs_log dfs_failing dfs_file; do
        compress-diag-file.sh "$name"
    done
    echo '{"UploadManifest":{"item":[{"filename":"dfs_log"},{"filename":"dfs_failing"},{"filename":"dfs_file"}]}}' \
        >dfs_uploadmanifest.json
    tar-compress-diag-files.sh dfs_uploadmanifest.json dfs_*.gz dfs_gone.gz 2>/tmp/err
    "$dfs_open" dfs_diagfile.tar.gz --key "$key" --extract "/tmp/$1" | tail -n 2
    rm dfs_*
}

dfs_open=$1 key=$2
equal "the present layout" "the device has left out: dfs_gone.gz, -, no regular file of $PWD
3 items, 0 missing, damaged or not accounted for; 1 fault of the archive itself" "$(pack present)"
cp -R "$3/." /opt/Vantor/
equal "the earlier layout" "3 items, all whole" "$(pack earlier | tail -n 1)"

# The one difference: how a command has ended is told.
echo "diag-seal: the command ended with exit status 3" >>/tmp/earlier/dfs_failing
check "what differs" diff -r /tmp/earlier /tmp/present

finish_tests
