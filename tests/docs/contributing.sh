#!/bin/bash
# The changes that CONTRIBUTING.md shows fit the source as it is. contributing.sh SOURCE
set -euo pipefail

command -v patch >/dev/null || exit 77
changes=$(awk '/^```diff$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$1/CONTRIBUTING.md")
[ "$(grep -c '^+++ ' <<<"$changes")" -ge 4 ] || { echo "hardly a change" >&2; exit 1; }
patch --directory "$1" -p1 --dry-run --forward --fuzz=0 <<<"$changes"
