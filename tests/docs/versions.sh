#!/bin/bash
# The version of CMakeLists.txt is that of kvnsim, and of the newest release in CHANGELOG.md and
# debian/changelog, which name the same day. versions.sh SOURCE VERSION KVNSIM
set -euo pipefail
export LC_ALL=C

source=$1 version=$2 kvnsim=$3
failed=0
complain() {
    echo "$* (CMakeLists.txt: $version)" >&2
    failed=1
}

[[ "$("$kvnsim" --version)" == "kvnsim $version "* ]] || complain "kvnsim has another version"

read -r changed day < <(sed -n 's/^## \[\([0-9.]*\)\] - \([0-9-]*\)$/\1 \2/p' "$source/CHANGELOG.md")
[ "$changed" = "$version" ] || complain "CHANGELOG.md: the newest release is $changed"

packaged=$(sed -n '1s/^kavelin-l3 (\(.*\)-[0-9]*) .*/\1/p' "$source/debian/changelog")
[ "$packaged" = "$version" ] || complain "debian/changelog: the newest release is $packaged"
packaged_day=$(date -u -d "$(sed -n 's/^ -- .*>  //p' "$source/debian/changelog" | head -n 1)" +%F)
[ "$packaged_day" = "$day" ] ||
    complain "debian/changelog: the release is of $packaged_day, in CHANGELOG.md of $day"
exit $failed
