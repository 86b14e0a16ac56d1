#!/bin/bash
# What a built file does for its safety: hardening.sh FILE [fortified]
set -euo pipefail
export LC_ALL=C

file=$1
complain() {
    echo "$file: $*" >&2
    exit 1
}

dynamic=$(readelf --wide --dynamic "$file")
path=$(sed -n 's/.*R\(UN\)\?PATH.*\[\(.*\)\]/\2/p' <<<"$dynamic")
case ":$path:" in
::) ;; # no run path
*::*) complain "its run path \"$path\" has an empty element: the current folder" ;;
esac
for element in ${path//:/ }; do
    case $element in
    /* | \$ORIGIN*) ;;
    *) complain "its run path has \"$element\", which depends on the current folder" ;;
    esac
done
grep -q 'BIND_NOW\|FLAGS_1.*NOW' <<<"$dynamic" || complain "binds lazily"

segments=$(readelf --wide --segments "$file")
grep -q GNU_RELRO <<<"$segments" || complain "its relocations stay writable"
grep -q 'GNU_STACK.*RW ' <<<"$segments" || complain "its stack is executable"
grep -q 'Type: *DYN' <<<"$(readelf --file-header "$file")" || complain "is not position-independent"
# The note that says so depends on the C library's own start files too.
[ "$(objdump --disassemble "$file" | grep -c 'endbr[36]')" -gt 1 ] ||
    complain "has no control-flow protection"

imports=$(readelf --wide --dyn-syms "$file" | awk '$7 == "UND" { sub(/@.*/, "", $8); print $8 }')
grep -q -x __stack_chk_fail <<<"$imports" || complain "has no stack protector"
fortified=$(grep -v -x __stack_chk_fail <<<"$imports" | grep '_chk$' || true)
if [ "${2:-}" = fortified ]; then
    [ -n "$fortified" ] || complain "is not fortified"
else
    [ -z "$fortified" ] || complain "imports what not every C library has: $fortified"
fi
