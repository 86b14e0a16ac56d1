#!/bin/sh
# Records the examples anew with the given kvnsim, as NAME.jsonl beside this script. One set is for
# both word sizes; the header tells that of the switch:
#     tests/recordings/make.sh build/i386/bin/kvnsim
# Only when the library is meant to do something else than before: these recordings are what tells.
set -eu
kvnsim=$(realpath "$1")
here=$(dirname "$(realpath "$0")")
cd "$here/../../examples"

# Up, through the changes, and down again.
record() {
    name=$1
    shift
    "$kvnsim" run "$@" empty.json --record "$here/$name.jsonl" --quiet
}

record leaf leaf.json
record portchannels portchannels.json
record routed_ports routed_ports.json
record small_change small_change_before.json small_change_after.json small_change_before.json
record subinterfaces subinterfaces.json
record svi_gateway svi_gateway.json
# Something always fails: the exit status says so.
record failing portchannels.json subinterfaces.json --fail-rate 0.1 --seed 1 2>/dev/null || [ $? -eq 4 ]
