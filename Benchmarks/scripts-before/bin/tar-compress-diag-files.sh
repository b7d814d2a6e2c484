#!/bin/sh
# tar-compress-diag-files.sh NAME...: packs files of the persistence directory into dfs_diagfile.tar.gz there. The archive
# appears whole or not at all. A name that is no plain file of that directory is left out, with a line on standard error.
# The lowest level: the files are compressed and encrypted already.

directory=/mnt/nv/product-persistence
archive=dfs_diagfile.tar.gz
partial=.$archive.partial # one name, so that what a killed run left is overwritten by the next

complain() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
}

fail() {
    complain "$1"
    exit 1
}

cd "$directory" || fail "$directory cannot be entered"
# An archive that is still here is an earlier request's, and must not be taken for this one's.
rm -f -- "$archive" "$partial"

seen=/
for name; do
    shift
    case $name in
        '' | . | .. | */* | "$archive") complain "'$name' is not the name of a file to pack"; continue ;;
    esac
    # A file that was collected twice within a second is named twice; one member does.
    case $seen in */"$name"/*) continue ;; esac
    seen=$seen$name/
    if [ -L "$name" ] || [ ! -f "$name" ]; then
        complain "no regular file '$name' in $directory"
        continue
    fi
    set -- "$@" "$name"
done
[ $# -gt 0 ] || fail "nothing to pack"

trap 'rm -f -- "$partial"' EXIT
trap 'exit 1' HUP INT TERM
# The status of a pipeline is gzip's; tar's is told on a descriptor of its own.
told=$({ { tar -cf - -- "$@" && printf packed >&3; } | gzip -1 -c >"$partial"; } 3>&1)
[ "$?/$told" = 0/packed ] || fail "$archive could not be written"
mv -f -- "$partial" "$archive" || fail "$archive could not be put in place"
trap - EXIT
