# shellcheck shell=sh
# What the collecting scripts share: a report in sections, where what is missing, fails or hangs costs one line and no
# more. Sourced by them; does nothing by itself. A report shows what cannot hang first, then runs tools. As a whole it is
# bounded by what seals it.

max_lines=5000 # of one file, the last ones
tool_seconds=10 # for one tool; KILL follows a second later

section() {
    printf '\n==> %s <==\n' "$1" # As tail(1) heads each of several files.
}

have() {
    command -v "$1" >/dev/null 2>&1
}

bound=
! have timeout || bound="timeout -k 1 $tool_seconds"

# tell_end TOOL STATUS: 124 is what timeout says, and 128 and the signal's number what a shell does.
tell_end() {
    case $bound/$2 in
        ?*/124 | ?*/137 | ?*/143) echo "$1 did not end within $tool_seconds seconds" ;;
        *) echo "$1 ended with exit status $2" ;;
    esac
}

# run TITLE COMMAND-LINE...: a section with what the first of the command lines prints whose program is on the device.
run() {
    section "$1"
    shift
    missing=
    for line; do
        if have "${line%% *}"; then
            # shellcheck disable=SC2086  # a command line of the script's own, to be split
            $bound $line 2>&1 || tell_end "${line%% *}" "$?"
            return
        fi
        missing="${missing:+$missing nor }${line%% *}"
    done
    echo "this device has no $missing"
}

# show FILE...: a section for each file, all by one process.
show() {
    readable=0
    for file; do
        shift
        if [ -r "$file" ]; then
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
