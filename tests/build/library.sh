#!/bin/bash
# What the built library must be, so that a host can load it: library.sh CHECK LIBRARY [ARGUMENT...]
set -euo pipefail
export LC_ALL=C

check=$1 library=$2
shift 2

complain() {
    echo "$library: $*" >&2
    exit 1
}

# The dynamic symbols, one a line: section type binding size name
dynamic_symbols() {
    readelf --wide --dyn-syms "$1" | awk '$1 ~ /^[0-9]+:$/ && NF >= 8 { print $7, $4, $5, $3, $8 }'
}

case $check in
# word_size CLASS MACHINE
word_size)
    header=$(readelf --file-header "$library")
    grep -q "Class: *$1$" <<<"$header" || complain "not $1"$'\n'"$header"
    grep -q "Machine: *$2$" <<<"$header" || complain "not for $2"$'\n'"$header"
    grep -q "Type: *DYN" <<<"$header" || complain "not a shared object"$'\n'"$header"
    ;;

# exports LIST POINTER_SIZE
exports)
    wanted=$(sed -n "s/ pointer$/ $2/; s/^function .*/&/p; s/^object .*/&/p" "$1" | sort)
    found=$(dynamic_symbols "$library" | awk '$1 != "UND" {
        if ($2 == "FUNC") print "function", $5
        else if ($2 == "OBJECT") print "object", $5, $4
        else print $2, $5 }' | sort)
    diff <(echo "$wanted") <(echo "$found") >&2 ||
        complain "does not export what it should ('<' missing, '>' too much)"
    ;;

# c_interface PREFIX HEADER...: the exported names that are no C++ names are the functions with the
# prefix, each declared in one of the headers.
c_interface)
    prefix=$1
    shift
    found=$(dynamic_symbols "$library" | awk '$1 != "UND" && $5 !~ /^_Z/ { print $5 }' | sort)
    declared=$(grep -h -o -E "\b($prefix)[a-z0-9_]*\(" "$@" | tr -d '(' | sort -u)
    diff <(echo "$declared") <(echo "$found") >&2 ||
        complain "does not export what it should ('<' missing, '>' too much)"
    ;;

# needs LIBRARY...
needs)
    wanted=$(printf '%s\n' "$@" | sort)
    found=$(readelf --dynamic "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort)
    [ "$wanted" = "$found" ] || complain "needs ${found//$'\n'/ } instead of $*"
    ;;

# Nothing runs when the host loads the library.
no_constructors)
    found=$(nm --defined-only "$library" | grep -E ' _GLOBAL__(sub_)?[ID]_' || true)
    [ -z "$found" ] || complain "runs code at load time"$'\n'"$found"
    ;;

# A host may put its own function in the place of an exported one; the library must then call that.
interposable)
    ! readelf --dynamic "$library" | grep -q SYMBOLIC || complain "is bound to its own symbols"
    direct=$(objdump --disassemble --no-show-raw-insn "$library" | grep -E '\s(call|jmp) ' |
        grep -F -f <(dynamic_symbols "$library" |
            awk '$1 != "UND" && $2 == "FUNC" { print "<" $5 ">" }') || true)
    [ -z "$direct" ] || complain "calls its own entry points directly"$'\n'"$direct"
    ;;

# imports PROVIDER...: each platform symbol comes from exactly one of the providers.
imports)
    imported=$(dynamic_symbols "$library" |
        awk '$1 == "UND" && $3 == "GLOBAL" && $5 !~ /@/ && $5 !~ /^g_/ { print $5 }')
    [ -n "$imported" ] || complain "imports nothing from the platform"
    for provider in "$@"; do
        dynamic_symbols "$provider" | awk '$1 != "UND" { print $5 }'
    done | sort >"${TMPDIR:-/tmp}/provided.$$"
    trap 'rm -f "${TMPDIR:-/tmp}/provided.$$"' EXIT
    wrong=$(for symbol in $imported; do
        times=$(grep -c -x -F "$symbol" "${TMPDIR:-/tmp}/provided.$$" || true)
        [ "$times" = 1 ] || echo "$symbol: defined $times times"
    done)
    [ -z "$wrong" ] || complain "its imports are not each defined once in $*"$'\n'"$wrong"
    ;;

# binary_interface RECORD: the layout of all that is exported.
binary_interface)
    abidiff "$1" "$library" >&2 ||
        complain "its binary interface is not that of $1;" \
            "where hosts have agreed to the change, record it with scripts/record-abi"
    ;;

*)
    echo "library.sh: no check '$check'" >&2
    exit 2
    ;;
esac
