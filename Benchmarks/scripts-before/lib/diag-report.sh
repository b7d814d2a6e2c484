# shellcheck shell=sh
# What the collecting scripts share: a report in sections, each bounded, where what is missing costs one line and no more.
# Sourced by them; does nothing by itself.

max_lines=5000 # of one file or program, the last ones

section() {
    printf '\n==== %s ====\n' "$1"
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
            $line 2>&1 | tail -n "$max_lines"
            return
        fi
        missing="${missing:+$missing nor }${line%% *}"
    done
    echo "this device has no $missing"
}

# show FILE...: a section for each file.
show() {
    for file; do
        section "$file"
        if [ -r "$file" ]; then
            tail -n "$max_lines" <"$file"
        else
            echo "this device has no $file"
        fi
    done
}
