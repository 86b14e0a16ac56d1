#!/bin/bash
# Every relative link of the pages below ROOT leads to a file. links.sh ROOT
set -euo pipefail

links=0 failed=0
while read -r page; do
    while read -r link; do
        links=$((links + 1))
        [ -e "$(dirname "$page")/$link" ] || { echo "$page: $link is not there" >&2; failed=1; }
    done < <(awk '/^```/ { fenced = !fenced } !fenced' "$page" |
        grep -oE '\]\([^)#: ]+' | cut -c 3-)
done < <(find "$1" -name '*.md')
[ $links -gt 10 ] || { echo "hardly a link in $1" >&2; failed=1; }
exit $failed
