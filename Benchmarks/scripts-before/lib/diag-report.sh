# shellcheck shell=sh
# What the collecting scripts shared earlier, as far as it differs: seal-in-box appends it to the device's file of this name.

section() {
    printf '\n==== %s ====\n' "$1"
}

# attempt COMMAND-LINE: the end of what it prints on both streams.
attempt() {
    # shellcheck disable=SC2086,SC2154  # a command line of the script's own, to be split; $max_lines is the device's
    $1 2>&1 | tail -n "$max_lines"
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
