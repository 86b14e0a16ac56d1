#!/bin/bash
# What make install leaves works by itself, and make uninstall removes it.
# installation.sh CHECK SOURCE TREE PREFIX [ARGUMENT...]
# HOST_LIBRARIES is where a switch's own libraries are, if not in the system's folders.
set -euo pipefail

check=$1 source=$2 tree=$3 prefix=$4
shift 4

complain() {
    echo "$*" >&2
    exit 1
}

# A host's program. An interface that nobody has made is a member of nothing.
write_host() {
    cat >host.c <<'END'
#include <l3lifpd_kavelin.h>
#include <platform_api/l3lif.h>

int main(void)
{
    struct l3lif l3lif = {0};
    return (int)l3lifpd_kvn_is_lif_pc_member(&l3lif);
}
END
}

# block KIND: the lines of that fenced block of the page on installing.
block() {
    awk -v fence='```' '$0 == fence { inside = 0 } inside; $0 == fence kind { inside = 1 }' \
        kind="$1" "$source/docs/install.md"
}

case $check in
install)
    rm -rf "$prefix"
    "$source/scripts/install" "$tree" "$prefix"
    ;;

runs)
    example=$prefix/share/kvnsim/examples/leaf.json
    installed=$(cd / && env -i LD_LIBRARY_PATH="$HOST_LIBRARIES" "$prefix/bin/kvnsim" run "$example")
    [ -n "$installed" ] || complain "the installed kvnsim says nothing"
    diff <("$tree/bin/kvnsim" run "$example") <(echo "$installed") ||
        complain "the installed kvnsim says something else than the built one"
    ;;

# pkg_config BLOCK: with the commands of docs/install.md.
pkg_config)
    command -v pkg-config >/dev/null || exit 77
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$work"
    write_host
    block "sh $1" >commands
    [ -s commands ] || complain "install.md has no commands for $1"
    SOURCE=$source PREFIX=$prefix bash -e commands
    env -i LD_LIBRARY_PATH="$HOST_LIBRARIES" ./host || complain "the host's program fails"
    ;;

# cmake [OPTION...]: with the commands of docs/install.md.
cmake)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$work"
    write_host
    {
        echo 'cmake_minimum_required(VERSION 3.25)'
        echo 'project(host LANGUAGES C)'
        echo 'add_executable(host host.c)'
        block cmake
    } >CMakeLists.txt
    cmake -G Ninja -S . -B build -DCMAKE_PREFIX_PATH="$prefix" "$@" >log || { cat log; exit 1; }
    cmake --build build >log || { cat log; exit 1; }
    env -i LD_LIBRARY_PATH="$HOST_LIBRARIES" build/host || complain "the host's program fails"
    ;;

links)
    bash "$source/tests/build/links.sh" "$prefix"
    ;;

# The last one: nothing is left but what others put there.
uninstall)
    mkdir -p "$prefix/share/kvnsim"
    echo mine >"$prefix/share/kvnsim/mine"
    "$source/scripts/uninstall" "$prefix"
    left=$(find "$prefix" ! -type d)
    [ "$left" = "$prefix/share/kvnsim/mine" ] || complain "is left, or gone: $left"
    [ ! -e "$prefix/include/l3lifpd_kavelin" ] || complain "an empty folder is left"
    ! "$source/scripts/uninstall" "$prefix" 2>said || complain "removes again what is gone"
    rm said
    # A list that names other files than those of the prefix.
    echo "$prefix/../outside" >"$prefix/share/kvnsim/install_manifest.txt"
    touch "$prefix/../outside"
    status=0
    "$source/scripts/uninstall" "$prefix" || status=$?
    [ $status = 3 ] || complain "takes a list that leads out of the prefix: status $status"
    [ -e "$prefix/../outside" ] || complain "removes a file outside of the prefix"
    rm -r "$prefix/../outside" "$prefix"
    ;;

*)
    echo "installation.sh: no check '$check'" >&2
    exit 2
    ;;
esac
