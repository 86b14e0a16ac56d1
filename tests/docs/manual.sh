#!/bin/bash
# The manual page: man formats it without a complaint, and every verb and option is in it.
# manual.sh FOLDER_OF_KVNSIM
set -euo pipefail

PATH=$1:$PATH
page=$(mktemp)
trap 'rm -f "$page"' EXIT
kvnsim manual >"$page"
failed=0

words_below() { sed -n "/^$1:/,/^\$/s/^  \\([^ ]*\\).*/\\1/p"; }

for verb in $(kvnsim --help | words_below Verbs); do
    grep -q "^\.SS \"kvnsim $verb" "$page" || { echo "no verb $verb" >&2; failed=1; }
    section=$(sed -n "/^\\.SS \"kvnsim $verb/,/^\\.S[SH] [^k\"]/p" "$page")
    for option in $(kvnsim "$verb" --help | words_below Options); do
        grep -qF -- "${option//-/\\-}" <<<"$section" ||
            { echo "no option $option of $verb" >&2; failed=1; }
    done
done
[ "$(grep -c '^\.SS' "$page")" -gt 5 ] || { echo "hardly a verb" >&2; failed=1; }

if command -v groff >/dev/null; then
    complaints=$(LC_ALL=C.UTF-8 groff -man -ww -Tutf8 "$page" 2>&1 >/dev/null)
    [ -z "$complaints" ] || { echo "$complaints" >&2; failed=1; }
fi
exit $failed
