#!/bin/bash
# How far `kvnsim run` is from what it cannot do without: reading the JSON, the library's requests,
# storing the rows, each alone. Counts instructions, which stay the same on a busy machine.
#
#   bench/limits.sh TREE [COUNT]     the build, as build/bench; how many interfaces (65000)
set -euo pipefail

here=$(realpath "$(dirname "$0")")
tree=$(realpath "$1")
count=${2:-65000}
kvnsim=$tree/bin/kvnsim
limits=$tree/bin/bench/bench_limits
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Of a command: all of its instructions, or those of the function named first.
instructions() {
    local only=()
    [ "$1" = all ] || only=(--collect-atstart=no --toggle-collect="$1")
    valgrind --tool=callgrind --callgrind-out-file=counts "${only[@]}" "${@:2}" >log 2>&1 ||
        { cat log >&2; exit 1; }
    sed -n 's/^totals: //p' counts
}
millions() { echo $((($1 + 500000) / 1000000)); }
ratio() {
    local hundredths=$(((100 * $1 + $2 / 2) / $2))
    printf '%d.%02d' $((hundredths / 100)) $((hundredths % 100))
}
line() { printf '  %-42s %8s\n' "$@"; }

python3 -B "$here/configuration.py" "$count" big.json
"$kvnsim" run big.json --db big.db --record big.jsonl --quiet
json=$(instructions limit_json "$limits" json big.json)
requests=$(instructions limit_requests "$limits" requests big.jsonl)
rows=$(instructions limit_rows "$limits" rows big.db)
run=$(instructions all "$kvnsim" run big.json)
run_db=$(instructions all "$kvnsim" run big.json --db again.db)
command time -f %M -o peak "$kvnsim" run big.json --db again.db >log 2>&1 || { cat log >&2; exit 1; }
peak=$(cat peak)

echo "kvnsim run of $count interfaces, in millions of instructions"
line 'JSON, read alone' "$(millions "$json")"
line 'requests, on a platform that does nothing' "$(millions "$requests")"
line 'rows, stored alone' "$(millions "$rows")"
line 'run' "$(millions "$run")"
line '  times JSON and requests' "$(ratio "$run" $((json + requests)))"
line 'run --db' "$(millions "$run_db")"
line '  times JSON, requests and rows' "$(ratio "$run_db" $((json + requests + rows)))"
line 'peak memory of run --db, in MiB' $((peak / 1024))
