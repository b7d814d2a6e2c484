#!/bin/sh
# tar-compress-diag-files.sh NAME...: packs files of the persistence directory into dfs_diagfile.tar.gz there. The archive
# appears whole or not at all. What is no plain file of that directory, or would make the archive too large, is left out,
# with a line on standard error and one in the member dfs_left_out.txt: name, size, reason.
# Removes what failed requests have left for more than a day.
# The lowest level: the files are compressed and encrypted already.

directory=/mnt/nv/product-persistence
archive=dfs_diagfile.tar.gz
left_out=dfs_left_out.txt
max_size=167772160 # bytes of all files together, 160 MiB: whoever sends the archive holds it in memory
partial=.$archive.partial # one name, so that what a killed run left is overwritten by the next

complain() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
}

fail() {
    complain "$1"
    exit 1
}

# leave_out NAME SIZE REASON
leave_out() {
    complain "'$1' is left out: $3"
    told_left_out="$told_left_out$1, $2, $3
"
}

# Removes items that are older than a day, but for those of this request, whatever the clock has done meanwhile.
remove_leftovers() {
    set --
    for name in dfs_*_[0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9]*; do
        case $seen in */"$name"/*) continue ;; esac
        [ ! -f "$name" ] || set -- "$@" "./$name"
    done
    [ $# -eq 0 ] || find "$@" -prune -type f -mmin +1440 -exec rm -f -- {} +
}

cd "$directory" || fail "$directory cannot be entered"
# An archive that is still here is an earlier request's, and must not be taken for this one's.
rm -f -- "$archive" "$partial" "$left_out" 2>/dev/null || fail "$archive or $left_out is there and cannot be removed"

seen=/
told_left_out=
for name; do
    shift
    case $name in
        '' | . | .. | */* | "$archive" | "$left_out") leave_out "$name" - "not the name of a file to pack"; continue ;;
    esac
    # A file that was collected twice within a second is named twice; one member does.
    case $seen in */"$name"/*) continue ;; esac
    seen=$seen$name/
    if [ -L "$name" ] || [ ! -f "$name" ]; then
        leave_out "$name" - "no regular file of $directory"
        continue
    fi
    set -- "$@" "$name"
done
remove_leftovers
[ $# -gt 0 ] || fail "nothing to pack"

sizes=$(stat -c %s -- "$@") || fail "the files' sizes are not to be had"
total=0
for size in $sizes; do
    name=$1
    shift
    if [ $((total + size)) -gt "$max_size" ]; then
        leave_out "$name" "$size bytes" "the archive has $max_size bytes at most"
        continue
    fi
    total=$((total + size))
    set -- "$@" "$name"
done

trap 'rm -f -- "$partial" "$left_out"' EXIT
trap 'exit 1' HUP INT TERM
if [ -n "$told_left_out" ]; then
    printf %s "$told_left_out" >"$left_out" || fail "$left_out could not be written"
    set -- "$@" "$left_out"
fi
# The status of a pipeline is gzip's; tar's is told on a descriptor of its own.
told=$({ { tar -cf - -- "$@" && printf packed >&3; } | gzip -1 -c >"$partial"; } 3>&1)
[ "$?/$told" = 0/packed ] || fail "$archive could not be written"
mv -f -- "$partial" "$archive" || fail "$archive could not be put in place"
rm -f -- "$left_out"
trap - EXIT
