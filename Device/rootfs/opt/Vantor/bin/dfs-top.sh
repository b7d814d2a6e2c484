#!/bin/sh
# dfs-top.sh: the processes, the busiest first, and what they wait for.
# shellcheck source=../lib/diag-report.sh
. /opt/Vantor/lib/diag-report.sh

# names_only: becomes a filter of a list of processes. Instead of the arguments of programs, which BusyBox shows and which
# may hold a secret that nothing announces, it shows where in the kernel each process waits.
names_only() {
    exec awk '
        !columns && /^ *PID .*COMMAND/ { columns = NF; print $0, "WCHAN"; next }
        # A name may hold line breaks, and what follows them looks like anything.
        /^[a-z]+ (did not end within [0-9]+ seconds|ended with exit status [0-9]+)$/ { print; next }
        columns && $1 !~ /^[0-9]+$/ { next }
        $1 ~ /^[0-9]+$/ {
            rest = $0
            name = ""
            # The state of a process may be two words of BusyBox, as in "S <".
            for (n = columns + ($5 ~ /^[<N]$/); n > 0 && match(rest, / *[^ ]+/); n--) {
                name = name substr(rest, 1, RLENGTH)
                rest = substr(rest, RLENGTH + 1)
            }
            file = "/proc/" $1 "/wchan"
            channel = "-"
            getline channel <file
            close(file)
            print name, channel
            next
        }
        { print }'
}

# is_busybox PROGRAM: looks along $PATH itself, as a shell needs a process to take what "command -v" says.
is_busybox() {
    IFS=:
    for folder in $PATH; do [ ! -x "$folder/$1" ] || break; done
    for other in $PATH; do [ ! -x "$other/busybox" ] || break; done
    unset IFS
    # shellcheck disable=SC3013  # dash and BusyBox have -ef
    [ "$folder/$1" -ef "$other/busybox" ]
}

show /proc/loadavg /proc/pressure/cpu /proc/pressure/memory /proc/pressure/io
# Averages since each process started: what they do at the moment is in dfs-mpstat.sh's report, which samples anyway.
if have ps && ! is_busybox ps; then
    run "processes" "ps -e -o pid,ppid,user:16,stat,psr,ni,pcpu,time,rss,vsz,nlwp,etime,wchan:20,comm --sort=-pcpu"
elif have awk; then
    # Names of programs are cut to the width of a terminal otherwise.
    export COLUMNS=512
    run "processes" "top -b -n 1" "ps" | names_only
else
    section "processes"
    echo "this device has no awk"
fi
