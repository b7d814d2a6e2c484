# shellcheck shell=sh
# Compression, encryption and bounds: what the encrypting scripts share. Sourced by them; does nothing by itself.
#
# All that is collected goes through pipes, from the command to the encrypted output: nothing readable reaches a disk.
# Made for Debian's userland and for BusyBox alike, which is why neither `timeout` (BusyBox's spares all but one process)
# nor `head -c` (BusyBox's reads more than it passes on) is used. /proc is needed.
#
# Descriptors: 3 the encrypted output, 4 words on the outcome, 5 the command's input, 6 and 7 the command's output as the
# relay reads it and as the command writes it.

recipient=/opt/Vantor/etc/diag-recipient.pem
time_limit=60    # seconds that a command may take
kill_delay=5     # seconds from TERM to KILL
grace=2          # seconds for what a command left behind to close the output
block_size=65536 # bytes; the bounds on output are counted in such blocks
# shellcheck disable=SC2034  # for the scripts
command_blocks=256
# shellcheck disable=SC2034
file_blocks=1024

fail() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    exit 1
}

cms_encrypt() {
    openssl cms -encrypt -binary -stream -outform DER -aes-256-cbc "$recipient"
}

# A failure inside of a pipeline is lost, so each stage says when it has done its work. The last `cat` is there for its
# exit status: the openssl of OpenSSL 1.1 does not notice that a disk is full.
seal() {
    { gzip -c && printf 'packed ' >&4; } | { cms_encrypt && printf 'sealed ' >&4; } | cat >&3
}

# finish STATUS OUTCOME: ends the script by what the stages said, which is the command's exit status (or that it was cut),
# "packed" and "sealed", in the order of their ends.
finish() {
    case $1/$2 in
        0/*packed\ *sealed\ *) ;;
        *) fail "nothing usable was written: compression or encryption to $recipient failed" ;;
    esac
    case $2 in
        *cut\ *) exit 0 ;;
        [0-9]*) exit "${2%% *}" ;;
        *) fail "the end of the command was not seen" ;;
    esac
}

# seal_string TEXT: writes TEXT, compressed and encrypted, and ends the script.
seal_string() {
    exec 3>&1
    outcome=$({ printf '%s' "$1" | seal; } 4>&1 2>/dev/null)
    finish $? "0 $outcome"
}

# seal_output BLOCKS COMMAND...: runs the command on the standard input that is given, writes what it prints (both
# streams, at most so many blocks), compressed and encrypted, and ends the script with the command's exit status.
seal_output() {
    max_blocks=$1
    shift
    exec 3>&1 5<&0
    outcome=$({ : | supervise "$@" | limit | seal; } 4>&1 2>/dev/null)
    finish $? "$outcome"
}

# The command is the leader of a session of its own. It writes into the pipe on standard input, whose other end the
# supervisor opens through /proc, and `cat` relays from there: so the output can be ended, and no byte of it lost, although
# something that the command left behind keeps the pipe open. First in the output is a line for `limit`, the watch to call.
supervise() {
    read -r supervisor _ </proc/self/stat
    exec 3>&- 6<&0 7>/proc/self/fd/0
    spawn setsid "$@" <&5 >&7 2>&1 &
    session=$!
    exec 5<&- 7>&-

    trap : USR2   # an alarm that cannot end the session ends the wait for it
    trap '' USR1  # an alarm that is called before it listens must not die of it
    alarm "$time_limit" end_session &
    watch=$!
    printf '%s\n' "$watch"
    spawn cat <&6 &
    relay=$!
    exec 6<&-

    wait "$session"
    status=$?
    cut=
    call_off "$watch" || cut=yes
    if kill -0 "$relay"; then
        alarm "$grace" end_relay &
        watch=$!
        wait "$relay"
        call_off "$watch"
    fi
    kill -KILL "-$session"

    if [ "$cut" ]; then
        printf 'cut ' >&4
        printf '\n%s\n' "${0##*/}: cut here, the command was ended after $time_limit seconds"
    else
        printf '%s ' "$status" >&4
    fi
}

# Executes a program with none of the descriptors that are this file's own business.
spawn() {
    exec "$@" 3>&- 4>&- 5<&- 6<&- 7>&-
}

# alarm SECONDS ACTION: takes the action when the time is over, or at once on USR1. TERM calls it off; the exit status is
# 0 if the action was begun. KILL for the sleep, as a TERM can be lost before the new process has become `sleep`.
alarm() {
    exec </dev/null >/dev/null 3>&- 4>&- 5<&- 6<&- 7>&-
    begun=1
    trap 'kill -KILL "$!"; exit "$begun"' TERM
    trap 'kill -KILL "$!"' USR1
    sleep "$1" &
    wait "$!"
    begun=0
    "$2"
    exit 0
}

# call_off ALARM: true if it had not begun its action.
call_off() {
    kill -TERM "$1"
    ! wait "$1"
}

end_session() {
    signal_session TERM
    sleep "$kill_delay" &
    wait "$!"
    signal_session KILL
    sleep "$grace" &
    wait "$!"
    kill -USR2 "$supervisor"
}

end_relay() {
    signal_session KILL
    kill -KILL "$relay"
}

# The group first, at once; then what has moved to a group of its own. The name in parentheses may hold blanks.
signal_session() {
    kill "-$1" "-$session"
    for process in /proc/[0-9]*; do
        read -r line <"$process/stat" || continue
        # shellcheck disable=SC2086  # the fields after the name: state, parent, group, session
        set -- "$1" ${line##*) }
        [ "${5:-}" != "$session" ] || kill "-$1" "${process#/proc/}"
    done
}

# Passes on so many blocks; if there is more, says so and ends the command. So it does when nobody takes the output.
limit() {
    exec 3>&- 5<&- 6>&1
    read -r watch
    report=$(LC_ALL=C dd bs="$block_size" count="$max_blocks" iflag=fullblock 2>&1 >&6 4>&-) || kill -USR1 "$watch"
    case $report in "$max_blocks+0 "*) ;; *) return ;; esac
    more=$(LC_ALL=C dd bs=1 count=1 2>&1 >/dev/null)
    case $more in 1+0\ *) ;; *) return ;; esac
    kill -USR1 "$watch"
    printf 'cut ' >&4
    printf '\n%s\n' "${0##*/}: cut here, after the first $((block_size * max_blocks)) bytes"
}
