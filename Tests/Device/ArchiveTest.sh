#!/bin/sh
# ArchiveTest.sh: collected files are compressed in place and packed into one archive.
. "${0%/*}/assert.sh"
nv=/mnt/nv/product-persistence
archive=$nv/dfs_diagfile.tar.gz
cd "$nv" || exit 1

members() {
    tar -tzf "$archive" | tr '\n' ' '
}

no_archive() {
    equal "$1: archives and their parts" "" "$(find . -name '*diagfile*')"
}

# Compression, whatever the name and whatever is there already.
head -c 100000 /dev/urandom >/tmp/random
for name in dfs_a.txt dfs_b.gz dfs_c.tgz dfs_d-gz 'dfs e.txt' -f "$(printf %0252d 0)"; do
    cp /tmp/random "./$name"
    echo old >"./$name.gz"
    check "compression of $name" compress-diag-file.sh "$name"
    refute "$name is gone" [ -e "./$name" ]
    gzip -dc <"./$name.gz" | cmp - /tmp/random || fail "content of $name"
done
# A link where the compressed file goes, or is made, is replaced and not followed.
echo untouched >/mnt/nv/target
cp /tmp/random linked
ln -s /mnt/nv/target linked.gz
ln -s /mnt/nv/target linked.g~
check "compression beside links" compress-diag-file.sh linked
gzip -dc linked.gz | cmp - /tmp/random || fail "content of linked"
equal "what the links name" untouched "$(cat /mnt/nv/target)"

mkdir folder taken.gz
mkfifo pipe
cp /tmp/random taken
ln -s /tmp/random alias
for name in missing folder '' pipe taken alias; do
    refused compress-diag-file.sh "$name"
    refute "no file is made of '$name'" [ -f "$name.gz" ]
done
cp /tmp/random uncompressed
refute "compression on a full disk" sh -c 'ulimit -f 100; exec compress-diag-file.sh uncompressed' 2>/tmp/err
equal "what failed runs leave" "" "$(find . -name '*~' -o -path './taken.gz/*' -o -name 'uncompressed.gz')"
check "the file stays" cmp /tmp/random uncompressed
rm -r taken.gz pipe

# Packing, in the order named, each file once; what is no file of this directory is left out.
echo '{}' >dfs_uploadmanifest.json
ln -s dfs_a.txt.gz link
mkfifo fifo
echo half >.dfs_diagfile.tar.gz.partial
check "packing" tar-compress-diag-files.sh dfs_uploadmanifest.json dfs_b.gz.gz dfs_a.txt.gz dfs_b.gz.gz
equal "members" "dfs_uploadmanifest.json dfs_b.gz.gz dfs_a.txt.gz " "$(members)"
tar -xzOf "$archive" dfs_a.txt.gz | cmp - dfs_a.txt.gz || fail "content of a member"
equal "only the archive is left" ./dfs_diagfile.tar.gz "$(find . -name '*diagfile*')"

echo secret >/mnt/nv/outside
for name in missing ../outside /mnt/nv/outside ./dfs_a.txt.gz . .. '' folder link fifo dfs_diagfile.tar.gz; do
    check "packing with '$name'" tar-compress-diag-files.sh dfs_uploadmanifest.json "$name" 2>/tmp/err
    equal "members with '$name'" "dfs_uploadmanifest.json dfs_left_out.txt " "$(members)"
    equal "what is told of '$name'" "$name, -" "$(tar -xzOf "$archive" dfs_left_out.txt | sed 's/, [a-z].*//')"
    equal "lines on '$name'" 1 "$(wc -l </tmp/err)"
done
: >--to-command=x
check "names that look like options" tar-compress-diag-files.sh -f.gz --to-command=x
equal "members that look like options" "-f.gz --to-command=x " "$(members)"

# What would go beyond 160 MiB is left out, and told with its size; what is smaller and comes later has its place.
for name in large larger; do
    dd if=/dev/zero of="$name" bs=1 count=0 seek=100000000 2>/dev/null
done
check "packing of much" tar-compress-diag-files.sh large larger dfs_a.txt.gz missing 2>/tmp/err
equal "members of much" "large dfs_a.txt.gz dfs_left_out.txt " "$(members)"
equal "what is left out" "missing, -, no regular file of $nv
larger, 100000000 bytes, the archive has 167772160 bytes at most" "$(tar -xzOf "$archive" dfs_left_out.txt)"
rm large larger

# What failed requests have left goes after a day; what this request names stays, whatever its time.
for name in dfs_old_20260101000000.txt.gz dfs_old_20260101000000 dfs_packed_20260101000000.gz dfs_other.txt; do
    echo >"$name"
    touch -d '2026-01-01 00:00:00' "$name"
done
echo >dfs_new_20260101000000.gz
check "packing beside leftovers" tar-compress-diag-files.sh dfs_packed_20260101000000.gz
equal "what is not removed" "dfs_new_20260101000000.gz dfs_packed_20260101000000.gz dfs_other.txt" \
    "$(echo dfs_*_2026* dfs_other.txt)"

mv "$archive" /tmp
mkdir "$archive"
refused tar-compress-diag-files.sh dfs_a.txt.gz
equal "a folder of the archive's name" "" "$(ls -A "$archive")"
rmdir "$archive"

# Whole or not at all; and an earlier archive is never taken for this one.
refute "nothing to pack" tar-compress-diag-files.sh missing 2>/dev/null
no_archive "nothing to pack"
for tool in tar gzip; do
    shadow "$tool" 'head -c 10; exit 1'
    refute "packing by a $tool that fails" tar-compress-diag-files.sh dfs_a.txt.gz </dev/null 2>/dev/null
    no_archive "a $tool that fails"
    unshadow
done

mkfifo /tmp/begun /tmp/go
shadow gzip 'head -c 10; echo >/tmp/begun; read -r go </tmp/go'
tar-compress-diag-files.sh dfs_a.txt.gz &
packing=$!
read -r _ </tmp/begun
refute "no archive before its end" [ -e "$archive" ]
kill -TERM "$packing"
echo >/tmp/go
refute "packing that is ended" wait "$packing"
no_archive "packing that is ended"
unshadow

finish_tests
