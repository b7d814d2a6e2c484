#!/bin/sh
# EncryptFileTest.sh KEY: an existing file, and a text, encrypted.
. "${0%/*}/assert.sh"
key=$1
cd /tmp || exit 1

# sealed COMMAND...: it must succeed; its output is opened into the file "plain".
sealed() {
    seal "$@"
    equal "status of: $*" 0 "$status"
}

head -c 300000 /dev/urandom >random
: >empty
ln -s random link
for file in random empty link /proc/self/../version "$PWD/random"; do
    sealed dfs-encrypt-existing-file.sh "$file"
    check "content of $file" cmp "$file" plain
done

mkdir folder
mkfifo fifo
for path in missing folder fifo /dev/null /dev/zero ''; do
    refused dfs-encrypt-existing-file.sh "$path"
done
refused dfs-encrypt-existing-file.sh random empty

while IFS= read -r text; do
    sealed dfs-encrypt-string.sh "$text"
    equal "text" "$text." "$(cat plain; echo .)"
done <<'TEXTS'
{"status":"it's \"quoted\"","path":"C:\\new\t"}
100% %s %d \n \c \\
-n -e --help

$HOME `id` $(id) * ~
TEXTS
sealed dfs-encrypt-string.sh several '' 'words  ' -n
equal "several texts" "several  words   -n." "$(cat plain; echo .)"
long=$(od -An -tx1 random | head -c 120000)
sealed dfs-encrypt-string.sh "$long"
equal "a long text" "$long" "$(cat plain)"
refused dfs-encrypt-string.sh

set_bound file_blocks 1024 2
sealed dfs-encrypt-existing-file.sh random
{ head -c 131072 random; printf '\n%s\n' "dfs-encrypt-existing-file.sh: cut here, after the first 131072 bytes"; } >expected
check "a file beyond the bound" cmp expected plain

rm /opt/Vantor/etc/diag-recipient.pem
refused dfs-encrypt-existing-file.sh random
refused dfs-encrypt-string.sh text

finish_tests
