#!/usr/bin/env python3
"""The work of a verb grows as the rows that it reads: a further row of many costs little more than a
row of few. Work is instructions, so that the result does not depend on the machine's load.

growth_test.py KVNSIM [VERB [SHAPE]]"""

import concurrent.futures
import functools
import glob
import inspect
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "bench"))

import shapes  # noqa: E402
import work  # noqa: E402

# Sorting costs a fifth more for a row of four times as many.
MOST_GROWTH = 1.5
# What a verb does for a row that it passes over: of so few instructions a part more says nothing.
NEGLIGIBLE = 1000
# Well, findings, a configuration with errors, failed calls.
APPLYING = (0, 1, 3, 4)
# A saved switch is read without complaint, or what is counted is how it is refused.
READING = (0, 1)

APPLY = ["run", "c.json", "--keep-going", "--quiet"]
FAILING = ["--fail-rate", "0.1", "--seed", "1"]
SAVED = [[*APPLY, "--db", "c.db"]]
SAVED_BOTH = [*SAVED, ["run", "one.json", "--quiet", "--db", "one.db"]]
SAVED_FAILING = [[*APPLY, *FAILING, "--db", "c.db"]]

# Verb -> what is done before, and what is counted. c.json is the configuration, one.json one of one
# port.
VERBS = {
    "check": ([], ["check", "c.json"]),
    "run": ([], [*APPLY, "--db", "new.db"]),
    "run --record": ([], [*APPLY, "--record", "new.jsonl"]),
    "run, failing": ([], ["run", "c.json", "--keep-going", *FAILING]),
    "run, tearing down": (SAVED, ["run", "one.json", "--from", "c.db"]),
    "run, repairing": (SAVED_FAILING, ["run", "c.json", "--keep-going", "--from", "c.db"]),
    "plan": ([], ["plan", "c.json", "--keep-going"]),
    "plan, tearing down": (SAVED, ["plan", "one.json", "--from", "c.db"]),
    "fleet": ([], ["fleet", "c.json"]),
    "faults": ([], ["faults", "c.json", "--sample", "2", "--jobs", "1", "--keep-going"]),
    "replay": ([[*APPLY, "--record", "c.jsonl"]], ["replay", "c.jsonl"]),
    "events": ([[*APPLY, "--events", "c.events"]], ["events", "c.events"]),
    "show --json": (SAVED, ["show", "interfaces", "c.db", "--json"]),
    "audit": (SAVED, ["audit", "c.db"]),
    "audit, after failures": (SAVED_FAILING, ["audit", "c.db"]),
    "explain": (SAVED, ["explain", "Vlan1", "c.db"]),
    "packet": (SAVED, ["packet", "Vlan1", "c.db", "--to", "00:00:5e:00:53:01"]),
    "reach": (SAVED, ["reach", "--all", "c.db"]),
    "report": (SAVED, ["report", "c.db", "-o", "new.html"]),
    "report, after failures": (SAVED_FAILING, ["report", "c.db", "-o", "new.html"]),
    "diff": (SAVED_BOTH, ["diff", "one.db", "c.db"]),
    "completion": (SAVED, ["completion", "words", "--", "explain", "--db", "c.db"]),
    "completion of a configuration": ([], ["completion", "words", "--", "run", "c.json",
                                           "--timeline"]),
    **{f"show {table}": (SAVED, ["show", table, "c.db"])
       for table in ("interfaces", "ports", "port-channels", "lids", "macs", "errors", "summary",
                     "vrfs", "vlans")},
}

EVERY_SHAPE = [name for name, shape in inspect.getmembers(shapes, inspect.isfunction)
               if list(inspect.signature(shape).parameters) == ["count"]]
SWITCHES = [
    "routed_ports", "members", "members_of_one", "routed_port_channels", "svis_in_vrfs",
    "sub_interfaces", "sub_interfaces_that_wait", "vlan_members_everywhere", "virtual_routers",
    "virtual_routers_of_few", "virtual_routers_beside_one_that_joins", "addresses_of_one", "gateways",
]
# Where the order of rows could count: what keeps them in lists, and what sorts them.
ORDERED = ["addresses_of_one", "nested_networks", "vlan_members_everywhere"]

# Verbs, shapes, in which order their rows are written, and how many there are.
ROWS = [
    (["check"], EVERY_SHAPE, "ascending", 300),
    (["check"], ORDERED, "descending", 300),
    (["check"], ["everything"], "flat", 300),
    (["run"], SWITCHES, "ascending", 100),
    (["report"], ["vlan_members_everywhere", "virtual_routers_of_few", "members_of_one"],
     "ascending", 100),
    ([verb for verb in VERBS if verb not in ("check",)], ["everything"], "ascending", 60),
]


def configuration(shape, count, order):
    made = getattr(shapes, shape)(count)
    return made.turned() if order == "descending" else made


def stripped(kvnsim, folder):
    """A copy without debug information, which valgrind reads at each start: half of a small run."""
    built = os.path.dirname(os.path.dirname(kvnsim))
    for name in ("bin", "lib"):
        os.mkdir(os.path.join(folder, name))
    copies = [shutil.copy(path, path.replace(built, folder, 1))
              for path in (kvnsim, *glob.glob(os.path.join(built, "lib", "*.so*")))]
    subprocess.run(["strip", *copies], check=True)
    return copies[0]


def count_work(kvnsim, verb, shape, order, count):
    """The instructions of a verb on so many rows."""
    before, command = VERBS[verb]
    with tempfile.TemporaryDirectory() as folder:
        configuration(shape, count, order).write(os.path.join(folder, "c.json"), order == "flat")
        shapes.ports(1).write(os.path.join(folder, "one.json"))
        for earlier in before:
            work.run([kvnsim, *earlier], folder, APPLYING)
        return work.instructions([kvnsim, *command], folder,
                                 APPLYING if "c.json" in command else READING)


@functools.lru_cache(maxsize=None)
def work_at_least(kvnsim, verb):
    return count_work(kvnsim, verb, "svis", "ascending", 1)


def growth(kvnsim, verb, shape, order, count):
    """What a row costs, and what a further one does when there are four times as many."""
    count = min(count, getattr(getattr(shapes, shape), "most", 4 * count) // 4)
    few, many = (count_work(kvnsim, verb, shape, order, rows) for rows in (count, 4 * count))
    return (few - work_at_least(kvnsim, verb)) / count, (many - few) / (3 * count)


def main():
    if "valgrind" in work.missing_tools():
        print("skipped: no valgrind to count with")
        return 77
    cases = [(verb, shape, order, count) for verbs, of, order, count in ROWS
             for verb in verbs for shape in of if [verb, shape][:len(sys.argv) - 2] == sys.argv[2:]]
    assert cases, "nothing of that name"
    bad = 0
    with tempfile.TemporaryDirectory() as folder, \
            concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        kvnsim = stripped(os.path.abspath(sys.argv[1]), folder)
        for case, growing in [(case, pool.submit(growth, kvnsim, *case)) for case in cases]:
            verb, shape, order, _ = case
            name = f"{verb}: {shape}, {order}"
            try:
                row, further = growing.result()
            except RuntimeError as error:
                bad += 1
                print(f"FAILED {name}: {error}", flush=True)
                continue
            grows = further > MOST_GROWTH * max(row, NEGLIGIBLE)
            bad += grows
            print(f"{'GROWS' if grows else 'ok':5} {row:9.0f} {further:9.0f}  {name}", flush=True)
    print(f"{len(cases)} verbs and shapes, {bad} that failed or whose work grows too fast")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
