#!/bin/bash
# A program without debug information of its own, whose tools find it all the same:
# debug_information.sh PROGRAM FILE-OF-MAIN
set -euo pipefail
export LC_ALL=C

program=$1 source=$2
complain() {
    echo "$program: $*" >&2
    exit 1
}

! readelf --sections --wide "$program" | grep ' \.debug_' || complain "has debug information"
main=$(nm "$program" | sed -n 's/ T main$//p')
found=$(addr2line -e "$program" "$main")
[[ $found == *"$source":[1-9]* ]] || complain "addr2line finds main at $found"
if command -v gdb >/dev/null; then
    found=$(gdb --nx --batch -ex 'info line main' "$program" 2>&1)
    [[ $found == *"Line "[1-9]*"$source\""* ]] || complain "gdb finds main at $found"
else
    echo "not asked: gdb, which is not installed"
fi
