#!/bin/bash
# A program that takes its memory from mimalloc, by the standard library's operator new, which throws
# where there is none: allocator.sh PROGRAM
set -euo pipefail
export LC_ALL=C

program=$1
bound=$(LD_DEBUG=bindings "$program" version 2>&1 >/dev/null |
    grep "binding file $program " || true)
for binding in 'libmimalloc[^ ]* .*`malloc'"'" 'libstdc++[^ ]* .*`_Znw[mj]'"'"; do
    grep -q "to [^ ]*$binding" <<<"$bound" || {
        echo "$program is not bound to $binding" >&2
        exit 1
    }
done
