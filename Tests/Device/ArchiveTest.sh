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

# Packing, in the order named, each file once, over whatever has taken a name of the script's.
touch -- dfs_uploadmanifest.json --to-command=x ' blank ' 'a*'
ln -s dfs_a.txt.gz link
mkfifo fifo
for name in dfs_diagfile.tar.gz .dfs_diagfile.tar.gz.partial.1 dfs_left_out.txt; do
    ln -s /mnt/nv/target "$name"
done
check "packing" tar-compress-diag-files.sh -f.gz --to-command=x ' blank ' 'a*' dfs_a.txt.gz -f.gz missing 2>/tmp/err
equal "members" "-f.gz --to-command=x  blank  a* dfs_a.txt.gz dfs_left_out.txt " "$(members)"
tar -xzOf "$archive" dfs_a.txt.gz | cmp - dfs_a.txt.gz || fail "content of a member"
equal "only the archive is left" ./dfs_diagfile.tar.gz "$(find . -name '*diagfile*' -o -name '*left_out*')"
equal "what the links name" untouched "$(cat /mnt/nv/target)"

echo secret >/mnt/nv/outside
lines=$(printf 'two\nlines')
touch 'back\slash' "$lines"
for name in missing ../outside /mnt/nv/outside ./dfs_a.txt.gz . .. '' folder link fifo dfs_diagfile.tar.gz \
    dfs_left_out.txt 'back\slash' "$lines" '*'; do
    check "packing with '$name'" tar-compress-diag-files.sh dfs_uploadmanifest.json "$name" 2>/tmp/err
    equal "members with '$name'" "dfs_uploadmanifest.json dfs_left_out.txt " "$(members)"
    equal "what is told of '$name'" "$(printf %s "$name" | tr '\n' '?'), -" \
        "$(tar -xzOf "$archive" dfs_left_out.txt | sed 's/, [a-z].*//')"
    equal "lines on '$name'" 1 "$(wc -l </tmp/err)"
done

# What would go beyond 160 MiB is left out, and told with its size; what is smaller and comes later has its place. What
# tar and gzip add has 1 MiB of it. The sizes of the last two would add up to less than nothing.
for size in 100000000 66723000 9223372036854775000; do
    dd if=/dev/zero of="$size" bs=1 count=0 seek="$size" 2>/dev/null
done
check "packing of much" timeout 20 tar-compress-diag-files.sh 100000000 66723000 9223372036854775000 dfs_a.txt.gz \
    missing 2>/tmp/err
equal "members of much" "100000000 dfs_a.txt.gz dfs_left_out.txt " "$(members)"
equal "what is left out" "missing, -, no regular file of $nv
66723000, 66723000 bytes, the archive has 167772160 bytes at most
9223372036854775000, 9223372036854775000 bytes, the archive has 167772160 bytes at most" \
    "$(tar -xzOf "$archive" dfs_left_out.txt)"
rm 100000000 66723000 9223372036854775000

# What failed requests have left goes after a day, however much it is; what this request names stays, whatever its time.
seq 20000 | sed 's/^/dfs_old_20260101000000./; $a dfs_other_1234567.txt\nfolder/dfs_old_20260101000000' | xargs touch -d '2026-01-01 00:00:00'
seq 4000 | sed 's/^/dfs_packed_20260101000000./' | xargs touch -d '2026-01-01 00:00:00'
echo >dfs_new_20260101000000.gz
check "packing beside leftovers" timeout 30 sh -c 'tar-compress-diag-files.sh dfs_packed_*'
equal "members beside leftovers" 4000 "$(tar -tzf "$archive" | wc -l)"
rm -f dfs_packed_*
equal "what is not removed" "dfs_new_20260101000000.gz dfs_other_1234567.txt folder/dfs_old_20260101000000" \
    "$(echo dfs_*_2026* dfs_other* folder/*)"

mv "$archive" /tmp
mkdir "$archive"
refused tar-compress-diag-files.sh dfs_a.txt.gz
equal "a folder of the archive's name" "" "$(ls -A "$archive")"
rmdir "$archive"

# Whole or not at all; and an earlier archive is never taken for this one.
touch -d '2026-01-01 00:00:00' dfs_old_20260101000000
refute "nothing to pack" tar-compress-diag-files.sh missing 2>/dev/null
refute "a leftover, where nothing is to pack" [ -e dfs_old_20260101000000 ]
no_archive "nothing to pack"
# shellcheck disable=SC2016  # for the tool
for row in 'tar head -c 10; exit 1' 'gzip head -c 10; exit 1' 'gzip cat >/dev/null; dd if=/dev/zero bs=1M count=161' \
    'gzip cat; [ -e dfs_diagfile.tar.gz ] || kill -TERM "$(cat /tmp/packing)"'; do
    shadow "${row%% *}" "${row#* }"
    refute "packing by $row" sh -c 'echo $$ >/tmp/packing; exec tar-compress-diag-files.sh dfs_a.txt.gz' 2>/dev/null
    no_archive "packing by $row"
    unshadow
done
# Once more, as one goes meanwhile, and leftovers fill the partition; what is as old, and to be packed, stays until then.
cp dfs_a.txt.gz gone
touch -d '2026-01-01 00:00:00' dfs_old_20260101000000 dfs_b_20260101000000
shadow tar "rm -f gone; [ ! -e dfs_old_20260101000000 ] && exec $(command -v tar) \"\$@\""
check "packing at the second attempt" tar-compress-diag-files.sh gone dfs_b_20260101000000 missing 2>/dev/null
equal "members when one has gone, and lines on two" "dfs_b_20260101000000 dfs_left_out.txt 2" \
    "$(members)$(tar -xzOf "$archive" dfs_left_out.txt | wc -l)"

# A file that cannot be read is left out, and told of.
shadow tar "case \"\$*\" in *dfs_b_*) exit 2 ;; esac; exec $(command -v tar) \"\$@\""
shadow cat "[ \"\$2\" != dfs_b_20260101000000 ]"
check "packing beside what cannot be read" tar-compress-diag-files.sh dfs_a.txt.gz dfs_b_20260101000000 2>/dev/null
unshadow
equal "what is told of it" "dfs_a.txt.gz dfs_left_out.txt dfs_b_20260101000000, -, it cannot be read" \
    "$(members)$(tar -xzOf "$archive" dfs_left_out.txt)"

# Of two runs at one time one has the place, and the other one fails; no half of either has the archive's name.
shadow gzip "[ -e /tmp/other ] || { touch /tmp/other; tar-compress-diag-files.sh dfs_a.txt.gz; }
exec $(command -v gzip) \"\$@\""
refute "packing while another run packs" tar-compress-diag-files.sh dfs_a.txt.gz dfs_b_20260101000000 2>/dev/null
unshadow
equal "members of the other run" "dfs_a.txt.gz " "$(members)"

# A caller that is killed leaves the script behind, and the script no archive; whether a shell waits between them or not.
shadow mv "kill -KILL \$(cat /tmp/caller); sleep 0.1; exec $(command -v mv) \"\$@\""
for command in 'tar-compress-diag-files.sh dfs_a.txt.gz 2>/tmp/err; :' \
    'sh -c "tar-compress-diag-files.sh dfs_a.txt.gz 2>/tmp/err; :"; :'; do
    rm -f /tmp/err
    sh -c "echo \$\$ >/tmp/caller; $command"
    check "a line on it" timeout 10 sh -c 'until [ -s /tmp/err ]; do sleep 0.01; done'
    no_archive "a killed caller: $command"
done

finish_tests
