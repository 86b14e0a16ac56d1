#!/bin/bash
# What library.md says of the library as built: every imported name is in it, its samples compile, those
# that are programs print what it says, and its table names every function of the bench.
# library_page.sh SOURCE LIBRARY BENCH COMPILER [FLAG...]
set -euo pipefail

source=$1 library=$2 bench=$3
shift 3
page=$source/docs/library.md
failed=0

complain() {
    echo "library.md: $*" >&2
    failed=1
}

# The C library's names have a version; GLib's and the compiler's own are not the host's.
imported=$(nm --dynamic --undefined-only "$library" | awk '{print $NF}' |
    grep -v -e @ -e '^g_' -e '^_' -e '^__asan' -e '^__ubsan')
[ "$(wc -w <<<"$imported")" -gt 40 ] || complain "no imported names in $library"
for name in $imported; do
    grep -q "\`$name\`" "$page" || complain "$name is imported and not mentioned"
done
provided=$(sed -n '/^## What the host provides/,/^Of these/p' "$page" | grep '^| \[' |
    grep -o $'`[A-Za-z0-9_]*`' | tr -d $'`')
for name in $provided; do
    grep -qx "$name" <<<"$imported" || complain "$name is mentioned and not imported"
done

samples=$(mktemp -d)
trap 'rm -rf "$samples"' EXIT
awk -v folder="$samples" '
    /^```c$/ { inside = 1; file = folder "/sample" ++count ".c"; next }
    /^```$/ && !inside { inside = 1; file = folder "/sample" count ".txt"; next }
    /^```$/ { inside = 0 }
    inside { print > file }' "$page"
[ -e "$samples/sample1.c" ] || complain "there are no samples"
for sample in "$samples"/*.c; do
    compile=("$@" -std=c99 -Wall -Wextra -Werror -I "$source/l3lif/pd_kavelin"
        -I "$source/sim/sdk/include" "$sample")
    printed=${sample%.c}.txt
    if [ -e "$printed" ]; then
        "${compile[@]}" "$bench" "-Wl,-rpath,${bench%/*}" -o "$samples/program" ||
            complain "a program does not build"
        "$samples/program" >"$samples/found" || complain "a program fails"
        diff "$printed" "$samples/found" >&2 || complain "a program prints something else"
    else
        "${compile[@]}" -fsyntax-only || complain "a sample does not compile"
    fi
done
[ -e "$samples/program" ] || complain "there is no program"

functions=$(grep -o '^[a-z].*\bkvnsim_sdk_[a-z_]*(' "$source/sim/sdk/include/kvnsim/sdk.h" |
    grep -o 'kvnsim_sdk_[a-z_]*(' | tr -d '(')
[ "$(wc -w <<<"$functions")" -gt 20 ] || complain "hardly a function of the bench"
table=$(awk -F '|' '/^\| For \| Functions/ { inside = 1; next } /^$/ { inside = 0 }
    inside { print $3 }' "$page" | grep -o $'`[a-z_]*`' | tr -d $'`' | sed 's/^/kvnsim_sdk_/')
diff <(sort <<<"$functions") <(sort <<<"$table") >&2 ||
    complain "its table of the bench differs from kvnsim/sdk.h"
exit $failed
