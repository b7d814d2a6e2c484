# shellcheck shell=bash
# What the benchmarks share that happen on the device. Sourced.

# await COMMAND...: waits until the command succeeds.
await() {
    local attempt
    for attempt in $(seq 400); do
        if "$@"; then return; fi
        sleep 0.05
    done
    echo "${0##*/}: gave up waiting after $attempt attempts: $*" >&2
    exit 1
}

median() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }
