#!/bin/bash
# The example host builds against what is installed in PREFIX and nothing else, and so do its tests.
# The TREE has GoogleTest. example_host.sh TREE PREFIX LIBRARY_PATH COMPILER [FLAG...]
set -euo pipefail

tree=$1 prefix=$2 library_path=$3
shift 3

complain() {
    echo "$*" >&2
    exit 1
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
# Where a switch would have 32-bit libraries, this machine has those of the sysroot.
word_size=$(grep -o -e '-m32' <<<"$*" || true)
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
if [ -n "$library_path" ]; then
    export PKG_CONFIG_LIBDIR=$work/glib
    mkdir glib
    cat >glib/glib-2.0.pc <<EOF
Name: glib
Description: of the sysroot
Version: 2
Cflags: ${*:2}
Libs: -L${library_path%%:*} -lglib-2.0
EOF
fi
cp -r "$(find "$prefix/share" -type d -path '*/examples/host')" host
cd host
options=(CC="$1" CFLAGS="$word_size -O1 -Werror" CXXFLAGS="$word_size -O1 -Werror"
    LDFLAGS="-Wl,-rpath-link,$library_path"
    gtest="-isystem /usr/src/googletest/googletest/include $tree/lib/libgtest_main.a \
        $tree/lib/libgtest.a -pthread")
make -s "${options[@]}" host host_test || complain "the example host does not build"
env -i LD_LIBRARY_PATH="$library_path" ./host >life.txt 2>&1 ||
    complain "the example host fails"
[ "$(tail -n 1 life.txt)" = "nothing stayed" ] || complain "something stays of the example host"
env -i LD_LIBRARY_PATH="$library_path" ./host_test >tests.txt 2>&1 || {
    cat tests.txt >&2
    complain "the example host's tests fail"
}

# The same with CMake, whose package for the sysroot's libraries would need a toolchain file too.
if [ -z "$library_path" ]; then
    cmake -S . -B cmake -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$1" >cmake.txt ||
        complain "CMake does not find the packages of the example host"
    cmake --build cmake --target host >>cmake.txt || complain "CMake does not build the example host"
    cmake/host >/dev/null 2>&1 || complain "the example host that CMake built fails"
else
    echo "not tried: the example host's CMake build"
fi
