#!/bin/bash
# What library.md says of the library as built: every imported name is in it, and its samples compile.
# library_page.sh SOURCE LIBRARY COMPILER [FLAG...]
set -euo pipefail

source=$1 library=$2
shift 2
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
    /^```$/ { inside = 0 }
    inside { print > file }' "$page"
[ -e "$samples/sample1.c" ] || complain "there are no samples"
for sample in "$samples"/*.c; do
    "$@" -std=c99 -Wall -Wextra -Werror -I "$source/l3lif/pd_kavelin" -fsyntax-only "$sample" ||
        complain "a sample does not compile"
done
exit $failed
