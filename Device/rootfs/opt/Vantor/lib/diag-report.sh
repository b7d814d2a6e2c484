# shellcheck shell=sh
# What the collecting scripts share: a report in sections, where what is missing costs one line and no more. Sourced by
# them; does nothing by itself. The report as a whole is bounded by what seals it.

max_lines=5000 # of one file, the last ones

section() {
    printf '\n==> %s <==\n' "$1" # As tail(1) heads each of several files.
}

have() {
    command -v "$1" >/dev/null 2>&1
}

# run TITLE COMMAND-LINE...: a section with what the first of the command lines prints whose program is on the device.
run() {
    section "$1"
    shift
    missing=
    for line; do
        if have "${line%% *}"; then
            # shellcheck disable=SC2086  # a command line of the script's own, to be split
            $line 2>&1 || echo "${line%% *} ended with exit status $?"
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
