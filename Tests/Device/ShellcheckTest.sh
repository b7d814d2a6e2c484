#!/bin/sh
# ShellcheckTest.sh ROOT: shellcheck finds nothing in any shell script of the tree.
cd "$1" || exit 1
grep -rlE --exclude-dir=build --exclude-dir=.git -m 1 '^#!/(usr/)?bin/(env )?(ba)?sh$|^# shellcheck shell=sh' . |
    xargs -r -n 8 -P 2 shellcheck
