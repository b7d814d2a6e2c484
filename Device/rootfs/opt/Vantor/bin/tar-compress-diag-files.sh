#!/bin/sh
# tar-compress-diag-files.sh NAME...: packs files of the persistence directory into dfs_diagfile.tar.gz there. The archive
# appears whole or not at all. What is no plain file of that directory, or would make the archive too large, is left out,
# with a line on standard error and one in the member dfs_left_out.txt: name, size, reason.
# Removes what failed requests have left for more than a day.
# The lowest level: the files are compressed and encrypted already.
# shellcheck disable=SC2086  # lists are split, see IFS

export LC_ALL=C # names are bytes
directory=/mnt/nv/product-persistence
archive=dfs_diagfile.tar.gz
left_out=dfs_left_out.txt
partial=.$archive.partial.$$ # of this run alone: another one at the same time takes it away, and never fills it
max_size=167772160           # bytes of the archive, 160 MiB: whoever sends it holds it in memory
reserve=1048576              # bytes of it for what tar, gzip and the member on what is left out add
is_again=

# Lists of names are lines: unquoted, a list is its names.
newline='
'
IFS=$newline
set -f

complain() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
}

fail() {
    complain "$1"
    exit 1
}

# remove NAME...: those that are there.
remove() {
    for file; do
        if [ -e "$file" ] || [ -L "$file" ]; then
            rm -f -- "$file" 2>/dev/null || return
        fi
    done
}

# leave_out NAME SIZE REASON
leave_out() {
    told=$1
    case $told in *[[:cntrl:]]*) told=$(printf %s "$told" | tr '[:cntrl:]' '?') ;; esac
    complain "left out: $told, $2, $3"
    told_left_out="$told_left_out$told, $2, $3$newline"
}

# Sets $present to those of the names that are files to pack, each once.
look_for() {
    present=$newline
    for name; do
        case $name in
            # GNU tar takes a backslash for the beginning of an escape sequence.
            '' | . | .. | */* | *\\* | *[[:cntrl:]]* | "$archive" | "$left_out")
                leave_out "$name" - "not the name of a file to pack"
                continue
                ;;
        esac
        if [ -L "$name" ] || [ ! -f "$name" ]; then
            leave_out "$name" - "no regular file of $directory"
            continue
        fi
        if [ -n "$is_again" ] && ! cat -- "$name" >/dev/null 2>&1; then
            leave_out "$name" - "it cannot be read"
            continue
        fi
        # A file that was collected twice within a second is named twice.
        case $present in
            *"$newline$name$newline"*) ;;
            *) present=$present$name$newline ;;
        esac
    done
}

# Removes items that are older than a day.
remove_leftovers() {
    seven='[0-9][0-9][0-9][0-9][0-9][0-9][0-9]'
    find . ! -name . -prune -type f -name "dfs_*_$seven$seven*" -mmin +1440 -exec rm -f -- {} +
}

# Sets $chosen to those of the files for which the archive has room.
choose() {
    sizes=$(stat -c '%s %n' -- "$@") || return
    chosen=
    room=$((max_size - reserve))
    while read -r line; do
        size=${line%% *}
        name=${line#* }
        if [ "$size" -gt "$room" ]; then
            leave_out "$name" "$size bytes" "the archive has $max_size bytes at most"
            continue
        fi
        room=$((room - size - 1024)) # with tar's header, and what fills the last block
        chosen=$chosen$name$newline
    done <<END
$sizes
END
}

pack() {
    told_left_out=
    look_for "$@"
    set -- $present
    if [ $# -eq 0 ]; then
        remove_leftovers
        fail "nothing to pack"
    fi
    choose "$@" || return
    set -- $chosen
    if [ -n "$told_left_out" ]; then
        printf %s "$told_left_out" >"$left_out" || return
        set -- "$@" "$left_out"
    fi
    # The status of a pipeline is gzip's; tar's is told on a descriptor of its own.
    packed=$({ { tar -cf - -- "$@" && printf packed >&3; } | gzip -1 -c >"$partial"; } 3>&1)
    [ "$?/$packed" = 0/packed ]
}

# Once more, as a file may have gone or changed while it was packed, or cannot be read, or leftovers may have filled the
# partition. What is to be packed becomes new before these are removed: the clock may have been set since it was collected.
pack_again() {
    is_again=yes
    touch -c -- $present
    remove_leftovers
    pack "$@"
}

# Sets $callers to the processes that wait for this one. A shell that starts it may itself live on, or become it.
look_for_callers() {
    IFS=' '
    read -r _ _ _ parent _ <"/proc/$$/stat" && read -r _ _ _ grandparent _ <"/proc/$parent/stat"
    callers="$parent $grandparent"
    IFS=$newline
}

cd "$directory" || fail "$directory cannot be entered"
look_for_callers
callers_before=$callers
# An archive that is still here is an earlier request's, and must not be taken for this one's.
set +f
remove "$archive" ".$archive.partial."* "$left_out" || fail "$archive, its parts or $left_out cannot be removed"
set -f
trap 'remove "$partial" "$left_out"' EXIT
trap 'exit 1' HUP INT TERM
# Holds whatever becomes of the files meanwhile; in blocks of 512 bytes. With XFSZ ignored gzip fails and leaves no core.
ulimit -f "$((max_size / 512))"
trap '' XFSZ
pack "$@" || pack_again "$@" || fail "$archive could not be written"
remove_leftovers
mv -f -- "$partial" "$archive" || fail "$archive could not be put in place"
# If the caller has been killed, nobody takes the archive away: what it had started has another parent then.
look_for_callers
[ "$callers" = "$callers_before" ] || { remove "$archive"; fail "the caller has gone, and $archive with it"; }
