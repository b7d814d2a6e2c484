#!/usr/bin/env bash
# `./dev` says that no device box can be made before it builds anything.
# usage: DevTest.sh PROJECT_FOLDER
set -euo pipefail

stand_ins=$(mktemp -d)
printf '#!/bin/sh\necho installed\n' >"$stand_ins/dpkg-query"
printf '#!/bin/sh\necho "bwrap: No permissions to create new namespace" >&2\nexit 1\n' >"$stand_ins/bwrap"
printf '#!/bin/sh\ntouch %s/built\n' "$stand_ins" >"$stand_ins/cmake"
chmod +x "$stand_ins"/*
for verb in test demo box bench; do
    status=0
    output=$(PATH=$stand_ins:$PATH "$1/dev" $verb 2>&1) || status=$?
    echo "$verb: $status: $output"
    [ "$status" -ne 0 ] && [ ! -e "$stand_ins/built" ] && [ "$(wc -l <<<"$output")" -eq 1 ]
    grep -q '(bwrap: No permissions to create new namespace): [a-z]* ' <<<"$output"
done
