# shellcheck shell=sh
# What the collecting scripts share: a report in sections. What is missing, fails or hangs costs its section one line.
# Sourced by the scripts; does nothing by itself. A report shows files first, as they cannot hang, and runs tools after
# them. What seals a report bounds it as a whole.

max_lines=5000                            # of one file, the last ones
tool_seconds=${DIAG_SEAL_TOOL_SECONDS:-0} # for one tool, 0 for no bound

section() {
    printf '\n==> %s <==\n' "$1" # As tail(1) heads each of several files.
}

have() {
    command -v "$1" >/dev/null 2>&1
}

# now: sets $now to the whole seconds since boot, without a process.
now() {
    read -r now _ </proc/uptime
    now=${now%%.*}
}

# ask_for_bound: has diag-seal kill this process, or what it becomes, after $tool_seconds. Signal 64 is such a request. A
# report that is run by hand has no bounds.
ask_for_bound() {
    [ "$tool_seconds" -eq 0 ] || kill -64 "$DIAG_SEAL_PID"
}

# attempt COMMAND-LINE: what it prints on both streams, and a line more if it fails. It may end within a line.
attempt() {
    now
    begin=$now
    # diag-seal sends URG if even KILL does not end the tool. Only "wait" heeds it, and only where it is trapped.
    trap : URG
    # The shell that waits writes to its own standard error that a tool was killed: hence the subshell.
    # shellcheck disable=SC2086  # a command line of the script's own, to be split
    { (ask_for_bound; exec $1 2>&1) & wait "$!"; status=$?; } 2>/dev/null
    [ "$status" -ne 0 ] || return 0
    now
    # 128 and the number of KILL or URG. Seconds alone are too coarse for a tool that fails just before.
    case $status in 137 | 151) ended=$((now - begin)) ;; *) ended=-1 ;; esac
    if [ "$tool_seconds" -gt 0 ] && [ "$ended" -ge "$tool_seconds" ]; then
        printf '\n%s did not end within %s seconds\n' "${1%% *}" "$tool_seconds"
    else
        printf '\n%s ended with exit status %s\n' "${1%% *}" "$status"
    fi
}

# run TITLE COMMAND-LINE...: a section with what the first of the command lines prints whose program is on the device.
run() {
    section "$1"
    shift
    missing=
    for line; do
        if have "${line%% *}"; then
            attempt "$line"
            return
        fi
        missing="${missing:+$missing nor }${line%% *}"
    done
    echo "this device has no $missing"
}

# show FILE...: a section for each file, all by one process. A FIFO would hang it.
show() {
    readable=0
    for file; do
        shift
        if [ -f "$file" ] && [ -r "$file" ]; then
            set -- "$@" "$file"
            readable=$((readable + 1))
        else
            section "$file"
            echo "this device has no $file"
        fi
    done
    case $readable in
        0) return ;;
        1) section "$1" ;;
        *) echo ;;
    esac
    tail -n "$max_lines" "$@" 2>&1
}
