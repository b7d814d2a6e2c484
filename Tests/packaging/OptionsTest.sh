#!/bin/sh
# OptionsTest.sh PROGRAMS PACKAGING: each manual page has the options that its program's --help has, and the completions
# in bash complete them, and the commands of the services.
. "$(dirname "$0")/../Device/assert.sh"
programs=$1
packaging=$2
PATH=$PATH:$programs

help_options() {
    {
        "$1" --help
        [ "$1" != diag-seal ] || for job in command file text; do diag-seal $job --help; done
    } | sed -nE 's/^  (-h,)?(--[a-z-]+).*/\2/p' | sort -u
}

for page in "$packaging"/man/*; do
    tool=${page##*/}
    tool=${tool%.*}
    [ "$tool" = DiagnosticFileService ] ||
        equal "options of $tool" "$(help_options "$tool")" "$(sed -nE 's/^\.It .*Fl Fl ([a-z-]+).*/--\1/p' "$page" | sort -u)"
done

# completed WORD...: what the last of the words may become.
completed() {
    bash -c 'compopt() { :; }
        . "$0/completion/$1"
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
        "$(complete -p "$1" | sed "s/.*-F \([^ ]*\).*/\1/")"
        printf "%s\n" "${COMPREPLY[@]}"' "$packaging" "$@" | sort -u
}
for tool in vcli dfs-open; do
    equal "completed options of $tool" "$(help_options $tool)" "$(completed $tool -)"
done

cd /tmp && touch archive.tar.gz other.txt
equal "an archive" archive.tar.gz "$(completed dfs-open "")"
DiagnosticFileService 2>/dev/null &
until vcli help >/dev/null 2>&1; do sleep 0.1; done
equal "a first word" diagfileservice "$(completed vcli --timeout 5 diag)"
equal "a second word" "show
upload" "$(completed vcli diagfileservice "")"
kill $!
finish_tests
