#!/bin/sh
# EncryptFileTest.sh KEY: an existing file, and a text, encrypted.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

# seal COMMAND...: its output is opened into the file "plain".
seal() {
    (
        trap '' PIPE
        exec "$@"
    ) >sealed 2>err
    equal "status and error of: $*" 0 "$?$(cat err)"
    open_sealed "$key" sealed >plain
}

head -c 300000 /dev/urandom >random
: >empty
ln -s random link
for file in random empty link /proc/self/../version "$PWD/random"; do
    seal dfs-encrypt-existing-file.sh "$file"
    check "content of $file" cmp "$file" plain
done

mkdir folder
mkfifo fifo
for path in missing folder fifo /dev/null /dev/zero ''; do
    refused dfs-encrypt-existing-file.sh "$path"
done
refused dfs-encrypt-existing-file.sh
refused dfs-encrypt-existing-file.sh random empty

while IFS= read -r text; do
    seal dfs-encrypt-string.sh "$text"
    equal "text" "$text." "$(cat plain; echo .)"
done <<'TEXTS'
plain words
{"status":"it's \"quoted\"","path":"C:\\new\t"}
100% %s %d \n \c \\
-n -e --help

$HOME `id` $(id) * ~
TEXTS
seal dfs-encrypt-string.sh several '' 'words  ' -n
equal "several texts" "several  words   -n." "$(cat plain; echo .)"
long=$(head -c 60000 random | od -An -tx1 | head -c 120000)
seal dfs-encrypt-string.sh "$long"
equal "a long text" "$long" "$(cat plain)"
refused dfs-encrypt-string.sh

set_bound file_blocks 2
head -c 131072 random >longest
head -c 131073 random >long
seal dfs-encrypt-existing-file.sh longest
check "a file at the bound is whole" cmp longest plain
for file in long random; do
    seal dfs-encrypt-existing-file.sh "$file"
    { cat longest; printf '\n%s\n' "dfs-encrypt-existing-file.sh: cut here, after the first 131072 bytes"; } >expected
    check "a file beyond the bound" cmp expected plain
done

rm /opt/Vantor/etc/diag-recipient.pem
refused dfs-encrypt-existing-file.sh random
refused dfs-encrypt-string.sh text

finish_tests
