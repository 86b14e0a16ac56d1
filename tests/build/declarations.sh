#!/bin/bash
# The public headers declare what hosts were told: every field, number and macro.
# declarations.sh SOURCE COMPILER [FLAG...]
set -euo pipefail

source=$1
shift
declared=$("$source/scripts/declarations" "$source/l3lif/pd_kavelin" "$@")
grep -q '^struct l3_pd {$' <<<"$declared" || { echo "the headers declare nothing" >&2; exit 1; }
diff "$source/abi/declarations.txt" - <<<"$declared" >&2 || {
    echo "The public headers do not declare what abi/declarations.txt has ('<' missing, '>' new);" \
        "where hosts have agreed to the change, record it with scripts/record-abi" >&2
    exit 1
}
