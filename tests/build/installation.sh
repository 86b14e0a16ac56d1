#!/bin/bash
# What make install leaves works by itself: kvnsim runs from there, and a host's program builds
# against the library there. installation.sh TREE LIBRARY_PATH COMPILER [FLAG...]
set -euo pipefail

tree=$1 library_path=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)

prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$tree" --prefix "$prefix" >/dev/null

complain() {
    echo "$*" >&2
    exit 1
}

for file in "$prefix"/bin/* "$prefix"/lib/*.so; do
    ! readelf --dynamic "$file" | grep -E 'R(UN)?PATH' | grep -F "$tree" ||
        complain "$file still looks for libraries in the build"
done

example=$prefix/share/kvnsim/examples/leaf.json
cd "$prefix"
env -i LD_LIBRARY_PATH="$library_path" bin/kvnsim run "$example" >installed.txt
"$tree/bin/kvnsim" run "$example" >built.txt
[ -s installed.txt ] || complain "the installed kvnsim says nothing"
diff built.txt installed.txt || complain "the installed kvnsim says something else than the built one"

bash "$here/example_host.sh" "$tree" "$prefix" "$library_path" "$@"
