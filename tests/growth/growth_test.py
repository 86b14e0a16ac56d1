#!/usr/bin/env python3
"""The work of a verb grows as the rows that it reads: a further row of many costs little more than a
row of few. Work is instructions, so that the result does not depend on the machine's load.

growth_test.py KVNSIM [VERB [SHAPE]]"""

import concurrent.futures
import functools
import inspect
import os
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "bench"))

import shapes  # noqa: E402
import work  # noqa: E402

KVNSIM = os.path.abspath(sys.argv[1])
# Sorting costs a fifth more for a row of four times as many.
MOST_GROWTH = 1.5
ANY_FINDING = (0, 1, 3, 4)

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
    "packet": (SAVED, ["packet", "Vlan1", "c.db"]),
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


def count_work(verb, shape, order, count):
    """The instructions of a verb on so many rows."""
    before, command = VERBS[verb]
    with tempfile.TemporaryDirectory() as folder:
        configuration(shape, count, order).write(os.path.join(folder, "c.json"), order == "flat")
        shapes.ports(1).write(os.path.join(folder, "one.json"))
        for earlier in before:
            work.run([KVNSIM, *earlier], folder, ANY_FINDING)
        return work.instructions([KVNSIM, *command], folder, ANY_FINDING)


@functools.lru_cache(maxsize=None)
def work_at_least(verb):
    return count_work(verb, "svis", "ascending", 1)


def growth(verb, shape, order, count):
    """What a row costs, and what a further one does when there are four times as many."""
    count = min(count, getattr(getattr(shapes, shape), "most", 4 * count) // 4)
    few, many = (count_work(verb, shape, order, rows) for rows in (count, 4 * count))
    return (few - work_at_least(verb)) / count, (many - few) / (3 * count)


def main():
    if "valgrind" in work.missing_tools():
        print("skipped: no valgrind to count with")
        return 77
    cases = [(verb, shape, order, count) for verbs, of, order, count in ROWS
             for verb in verbs for shape in of if [verb, shape][:len(sys.argv) - 2] == sys.argv[2:]]
    assert cases, "nothing of that name"
    too_much = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for case, costs in zip(cases, pool.map(lambda case: growth(*case), cases)):
            verb, shape, order, _ = case
            row, further = costs
            grows = further > MOST_GROWTH * row
            too_much += grows
            print(f"{'GROWS' if grows else 'ok':5} {row:9.0f} {further:9.0f}  "
                  f"{verb}: {shape}, {order}", flush=True)
    print(f"{len(cases)} verbs and shapes, {too_much} with work that grows too fast")
    return 1 if too_much else 0


if __name__ == "__main__":
    sys.exit(main())
