#!/bin/bash
# The Debian packages of a tree. packages.sh CHECK SOURCE TREE ARCHITECTURE [ARGUMENT...]
# Where packages cannot be made or checked, the check is skipped.
set -euo pipefail
export LC_ALL=C

check=$1 source=$2 tree=$3 architecture=$4
shift 4
packages=$tree/packages

complain() {
    echo "$*" >&2
    exit 1
}

skip() {
    echo "skipped: $*"
    exit 77
}

if [ "$check" = make ]; then
    rm -rf "$packages"
    for tool in dh chrpath; do
        command -v $tool >/dev/null || skip "there is no $tool"
    done
    [ "$architecture" != i386 ] || [ -d "$source/build/sysroot-i386/packages" ] ||
        skip "there is no sysroot with its package database"
    exec "$source/scripts/package" "$tree"
fi
[ -d "$packages" ] || skip "there are no packages"

file_of() {
    local found
    found=$(echo "$packages/$1"_*_"$architecture".deb)
    [ -e "$found" ] || complain "there is no package $1"
    echo "$found"
}
field() { dpkg-deb --field "$(file_of "$1")" "$2"; }
unpack() { for file in "$packages"/*.deb; do dpkg-deb --extract "$file" "$1"; done; }

case $check in
# contents MULTIARCH VERSION
contents)
    multiarch=$1 version=$2
    # holds PACKAGE PATTERN...: the files that are neither documents nor headers.
    holds() {
        local package=$1 found wanted
        shift
        found=$(dpkg-deb --contents "$(file_of "$package")" | awk '$1 !~ /^d/ { print $6 }' |
            sed 's|^\.||' | grep -v -e '^/usr/share/doc/' -e '^/usr/include/' \
                -e '^/usr/share/kvnsim/[es]' \
                -e '^/usr/share/lintian/' | sort)
        wanted=$(printf '%s\n' "$@" | sort)
        diff <(echo "$wanted") <(echo "$found") >&2 ||
            complain "$package does not hold what it should ('<' missing, '>' too much)"
        for document in copyright changelog.gz changelog.Debian.gz; do
            has "$package" "/usr/share/doc/$package/$document"
        done
    }
    has() {
        grep -q " \.$2$" < <(dpkg-deb --contents "$(file_of "$1")" | sed 's/ -> .*//') ||
            complain "$1 has no $2"
    }
    # says PACKAGE FIELD PATTERN
    says() {
        grep -qE -- "$3" <<<"$(field "$1" "$2")" ||
            complain "$1: $2 is \"$(field "$1" "$2")\", not \"$3\""
    }
    # A control file's lines.
    control() { dpkg-deb --info "$(file_of "$1")" "$2"; }

    lib=/usr/lib/$multiarch
    holds libl3lifpdkavelin "$lib/libl3lifpdkavelin.so"
    holds libkvnsim0 "$lib"/libkvnsim_{fwm,sdk}.so.{0,"$version"}
    holds libl3lifpdkavelin-dev "$lib"/libkvnsim_{fwm,sdk}.so \
        "$lib"/pkgconfig/{l3lifpdkavelin,kvnsim-sdk,kvnsim-fwm}.pc \
        "$lib"/cmake/kavelin-l3/kavelin-l3-config{,-version}.cmake
    has libl3lifpdkavelin-dev /usr/include/l3lifpd_kavelin/l3lifpd_kavelin.h
    has libl3lifpdkavelin-dev /usr/include/l3lifpd_kavelin/platform_api/libsdk.h
    has libl3lifpdkavelin-dev /usr/share/doc/libl3lifpdkavelin-dev/library.md
    has libl3lifpdkavelin-dev /usr/include/kvnsim/sdk.h
    has libl3lifpdkavelin-dev /usr/share/doc/libl3lifpdkavelin-dev/examples/host/
    holds kvnsim /usr/bin/kvnsim /usr/share/man/man1/kvnsim.1.gz \
        /usr/share/bash-completion/completions/kvnsim /usr/share/zsh/vendor-completions/_kvnsim
    for file in doc/kvnsim/kvnsim.md kvnsim/examples/leaf.json kvnsim/schemas/run.json; do
        has kvnsim "/usr/share/$file"
    done

    for package in libl3lifpdkavelin libkvnsim0 libl3lifpdkavelin-dev kvnsim; do
        says $package Architecture "^$architecture$"
        says $package Version "^$version-[0-9]+$"
        says $package Multi-Arch "^$([ $package = kvnsim ] && echo foreign || echo same)$"
    done
    says libl3lifpdkavelin Depends '^libc6 \(>= 2\.[0-9]+\), libglib2.0-0 \(>= 2\.[0-9.]+\)$'
    for package in libc6 libstdc++6 libgcc-s1 libfmt9; do
        says libkvnsim0 Depends "(^|, )${package//+/\\+} \(>= [0-9]"
    done
    exactly=$(field kvnsim Version)
    says libl3lifpdkavelin-dev Depends '(^|, )libglib2.0-dev(,|$)'
    for package in libl3lifpdkavelin-dev kvnsim; do
        for library in libl3lifpdkavelin libkvnsim0; do
            says $package Depends "(^|, )$library \(= ${exactly//./\\.}\)"
        done
    done
    for package in libedit2 libfmt9 libglib2.0-0 libhiredis0.14 libsqlite3-0 libstdc++6 libc6; do
        says kvnsim Depends "(^|, )${package//+/\\+} \(>= [0-9]"
    done

    control libl3lifpdkavelin symbols | grep '^ l3lifpd_kvn_add_l3port@Base 0\.1\.0$' >/dev/null ||
        complain "libl3lifpdkavelin has no list of symbols"
    for library in kvnsim_sdk kvnsim_fwm; do
        control libkvnsim0 shlibs | grep "^lib$library 0 libkvnsim0 (>= $version)$" >/dev/null ||
            complain "libkvnsim0 says not what programs with lib$library depend on"
    done
    for package in libl3lifpdkavelin libkvnsim0; do
        control $package triggers | grep '^activate-noawait ldconfig$' >/dev/null ||
            complain "$package leaves the loader's list of libraries as it was"
    done
    ;;

# Its files have no debug symbols, which are found by build id in packages of their own, and look for
# libraries in the system's folders only.
symbols)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    unpack "$work"
    files=$(find "$work/usr/bin" "$work"/usr/lib/*-linux-gnu -type f \( -name kvnsim -o -name '*.so*' \))
    [ "$(wc -l <<<"$files")" = 4 ] || complain "not the files that should be there: $files"
    for file in $files; do
        id=$(readelf --notes "$file" | sed -n 's/.*Build ID: //p')
        debug=$work/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
        [ -e "$debug" ] || complain "$file: no debug symbols for its build id $id"
        objdump --section-headers "$debug" | grep ' \.debug_info ' >/dev/null ||
            complain "$debug has no debug symbols"
        ! readelf --sections --wide "$file" | grep -e ' \.debug_' -e ' \.symtab ' >/dev/null ||
            complain "$file has debug symbols"
        ! readelf --dynamic "$file" | grep -E 'R(UN)?PATH' || complain "$file has a run path"
    done
    ;;

links)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    unpack "$work"
    bash "$source/tests/build/links.sh" "$work"
    while read -r link; do
        [ -e "$link" ] || complain "$link leads to nothing"
    done < <(find "$work" -type l)
    ;;

# The address is the project's; it is not meant for the Debian archive, with its own tickets.
lintian)
    command -v lintian >/dev/null || skip "there is no lintian"
    [ "$(id -u)" != 0 ] || set -- --allow-root
    lintian "$@" --fail-on error,warning --suppress-tags \
        bogus-mail-host,bogus-mail-host-in-debian-changelog,initial-upload-closes-no-bugs \
        "$packages"/*.deb
    ;;

# side_by_side OTHER_TREE: files that the packages of both word sizes have are the same.
side_by_side)
    other=$1/packages
    cmp -s "$packages.sources" "$other.sources" ||
        skip "there are no packages of the other word size from the same sources"
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    for folder in "$packages" "$other"; do
        mkdir "$work/part"
        for package in libl3lifpdkavelin libkvnsim0 libl3lifpdkavelin-dev; do
            for file in "$folder/$package"{,-dbgsym}_*.deb; do
                [ ! -e "$file" ] || dpkg-deb --extract "$file" "$work/part"
            done
        done
        if [ ! -e "$work/first" ]; then
            mv "$work/part" "$work/first"
        else
            mv "$work/part" "$work/second"
        fi
    done
    shared=0
    while read -r file; do
        [ -e "$work/second/$file" ] || [ -L "$work/second/$file" ] || continue
        if [ -L "$work/first/$file" ]; then
            [ "$(readlink "$work/first/$file")" = "$(readlink "$work/second/$file")" ]
        else
            cmp "$work/first/$file" "$work/second/$file"
        fi || complain "$file differs with the word size"
        shared=$((shared + 1))
    done < <(cd "$work/first" && find . ! -type d)
    [ $shared -gt 10 ] || complain "hardly a file is shared"
    ;;

*)
    echo "packages.sh: no check '$check'" >&2
    exit 2
    ;;
esac
