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
for name in dfs_a.txt dfs_b.gz dfs_c.tgz dfs_d-gz 'dfs e.txt' -f; do
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
ln -s /mnt/nv/target linked.gz.partial
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
equal "what failed runs leave" "" "$(find . -name '*partial*' -o -path './taken.gz/*' -o -name 'uncompressed.gz')"
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
    equal "members with '$name'" "dfs_uploadmanifest.json " "$(members)"
    equal "lines on '$name'" 1 "$(wc -l </tmp/err)"
done
: >--to-command=x
check "names that look like options" tar-compress-diag-files.sh -f.gz --to-command=x
equal "members that look like options" "-f.gz --to-command=x " "$(members)"

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
