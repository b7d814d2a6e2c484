#!/bin/sh
# What one upload does, by the plain tools: the floor that the service is measured against. Each command runs in a shell of
# its own, as an item may be any command line.
set -eu

directory=/mnt/nv/product-persistence
files=dfs_uploadmanifest.json

collect() { # output command...
    output=$directory/$1
    shift
    sh -c "$*" >"$output" 2>&1
    sh -c "compress-diag-file.sh $output"
    files="$files ${output##*/}.gz"
}

cd "$directory"
collect plain_logread.txt encrypt-logs dfs-pts-logs.sh
collect plain_networkinginfo.txt encrypt-logs dfs-networking-info.sh
collect plain_mfg_data.json dfs-encrypt-existing-file.sh /persist/mfg_data.json
collect plain_proc_loadavg.txt dfs-encrypt-existing-file.sh /proc/loadavg
collect plain_memory_disk.txt encrypt-logs dfs-memory-disk.sh
collect plain_uptime.txt encrypt-logs dfs-uptime.sh
collect plain_mpstat.txt encrypt-logs dfs-mpstat.sh
collect plain_top.txt encrypt-logs dfs-top.sh
collect plain_SwUpHsmStates.json dfs-encrypt-existing-file.sh /mnt/nv/update/SwUpHsmStates.txt
collect plain_SwUpSystemStatus.json dfs-encrypt-existing-file.sh /mnt/nv/update/SwUpSystemStatus.txt
collect plain_SwUpReleaseHistory.json dfs-encrypt-existing-file.sh /mnt/nv/update/SwUpReleaseHistory.txt
collect plain_coredump_filelist.txt 'encrypt-logs ls -la /data/logs/core*'

echo '{"UploadManifest":{"item":[],"version":1}}' >dfs_uploadmanifest.json
sh -c "tar-compress-diag-files.sh $files"

metadata='{"productName":"","productId":"plain","productType":"meridel","softwareVersion":"1.0.67-10452+c5f2e8b","fileType":"VRD9 Diagnostics","uploadTimeStamp":"2026-11-21T08:00:00Z","uploadedItems":[]}'
url=$(curl --silent --fail --proxy localhost:8888 --header 'Content-Type: application/json' --data-binary "$metadata" \
    http://diagnostics.vantor.example/senders/plain/metadata | sed 's/.*"uploadUrl":"\([^"]*\)".*/\1/')
md5=$(md5sum dfs_diagfile.tar.gz | cut -d ' ' -f 1)
curl --silent --fail --header 'Content-Type: application/octet-stream' --header "Content-MD5: $md5" \
    --data-binary @dfs_diagfile.tar.gz "$url"
rm -f plain_* dfs_uploadmanifest.json dfs_diagfile.tar.gz
