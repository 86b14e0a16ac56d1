#!/bin/bash
# Completion as a user of bash gets it, and the scripts' syntax. completion.sh FOLDER_OF_KVNSIM EXAMPLES
set -euo pipefail

PATH=$1:$PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$2" "$work/examples"
cd "$work"
failed=0

# shellcheck disable=SC1090
source <(kvnsim completion bash)
complete -p kvnsim | grep -q -- '-F _kvnsim' || { echo "nothing completes kvnsim" >&2; failed=1; }
# shellcheck disable=SC2317 # works only while bash itself completes
compopt() { :; }

# completes "LINE" [WORD...]: what Tab offers behind the line; its last word is being typed.
completes() {
    local line=$1
    shift
    local words=${line//=/ = } # as bash does
    read -ra COMP_WORDS <<<"${words//:/ : }"
    [[ $line == *' ' ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _kvnsim
    [ "${COMPREPLY[*]-}" = "$*" ] && return
    printf '"%s" is completed by "%s", not by "%s"\n' "$line" "${COMPREPLY[*]-}" "$*" >&2
    failed=1
}

kvnsim run examples/leaf.json --db leaf.db --quiet

completes "kvnsim ex" explain
completes "kvnsim au" audit
completes "kvnsim nothing-" # no such verb
completes "kvnsim help rep" replay report
completes "kvnsim help he" # helps with nothing
completes "kvnsim --v" --version
completes "kvnsim run examples/lea" # a file: left to bash
completes "kvnsim run examples/leaf.json --dr" --dry-run
completes "kvnsim run examples/leaf.json --dry-run --dr" # once is enough
completes "kvnsim run examples/leaf.json --fail x --fai" --fail --fail-rate
completes "kvnsim run examples/leaf.json --trace " debug error
completes "kvnsim run examples/leaf.json --fail libsdk_lid" \
    libsdk_lid_entry_create libsdk_lid_entry_destroy libsdk_lid_entry_path_add
completes "kvnsim run examples/leaf.json --fail libsdk_intf_create=SDK_E_F" SDK_E_FULL
completes "kvnsim run examples/leaf.json --fail libsdk_intf_create:2=SDK_E_N" SDK_E_NOT_FOUND
completes "kvnsim run examples/leaf.json --fail libsdk_intf_create:2=" SDK_E_INTERNAL SDK_E_PARAM \
    SDK_E_NOT_FOUND SDK_E_EXISTS SDK_E_FULL SDK_E_BUSY SDK_E_UNAVAIL SDK_E_TIMEOUT
completes "kvnsim run examples/leaf.json --fail=libsdk_intf_create=SDK_E_F" SDK_E_FULL
completes "kvnsim run examples/leaf.json --trace=d" debug
completes "kvnsim run examples/leaf.json --trace=debug --dr" --dry-run
completes "kvnsim run examples/leaf.json --limit i" intf=
completes "kvnsim run examples/leaf.json --timeline PortChannel" \
    PortChannel0001 PortChannel0002 PortChannel0010
completes "kvnsim run examples/leaf.json --db " # a file
completes "kvnsim show po" ports port-channels
completes "kvnsim show --db leaf.db attributes Vlan" Vlan100 Vlan200 Vlan300
completes "kvnsim show vrfs --db leaf.db Vrf" VrfBlue VrfGreen VrfInternet
completes "kvnsim explain --db leaf.db po1" po1 po1.300 po10
completes "kvnsim explain --db leaf.db portchannel001" portchannel0010
completes "kvnsim explain --db=leaf.db Vlan10" Vlan100
completes "kvnsim explain --db leaf.db Po" Po0001.300 Po0002.20 PortChannel0001 \
    PortChannel0002 PortChannel0010
completes "kvnsim explain --db none.db Po" # no such database
completes "kvnsim audit " # a file: left to bash
completes "kvnsim audit --" --db --ignore --json --wide --help
completes "kvnsim completion b" bash

kvnsim completion bash | bash -n || failed=1
if command -v zsh >/dev/null; then
    kvnsim completion zsh | zsh -n || failed=1
fi
exit $failed
