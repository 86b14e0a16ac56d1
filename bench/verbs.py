#!/usr/bin/env python3
"""What kvnsim's verbs cost, as users run them, on switches of several sizes.

verbs.py KVNSIM SIZE[,SIZE...] OUTPUT [DOCS]

Writes OUTPUT.md, a table, OUTPUT.json and OUTPUT.svg; with DOCS also the table and the picture of
the page performance.md in that folder."""

import json
import math
import os
import platform
import shutil
import subprocess
import sys
import tempfile

import work
from configuration import switch

# Verb -> its words. switch.json is the configuration, switch.db and switch.jsonl what a run of it
# saved and recorded, changed.db a switch on which one sub-interface in ten has another MTU.
VERBS = {
    "check": ["check", "switch.json"],
    "run": ["run", "switch.json"],
    "run --db": ["run", "switch.json", "--db", "new.db"],
    "run --record": ["run", "switch.json", "--record", "new.jsonl"],
    "plan": ["plan", "switch.json"],
    "replay": ["replay", "switch.jsonl"],
    "show --json": ["show", "interfaces", "switch.db", "--json"],
    "explain": ["explain", "Vlan2", "switch.db"],
    "audit": ["audit", "switch.db"],
    "diff": ["diff", "switch.db", "changed.db"],
    "report": ["report", "switch.db", "-o", "new.html"],
    "completion": ["completion", "words", "--current=Vlan2", "--", "explain", "--db", "switch.db"],
}
STATUSES = {"diff": (1,)}
BEGIN, END = "<!-- measured -->\n", "<!-- end of measured -->\n"


def prepare(kvnsim, count, folder):
    for name in ("switch", "changed"):
        switch(count, name == "changed").write(os.path.join(folder, f"{name}.json"))
        work.run([kvnsim, "run", f"{name}.json", "--quiet", "--db", f"{name}.db",
                  "--record", f"{name}.jsonl"], folder)


def measure(kvnsim, sizes):
    """A row for each verb, as the JSON document has them."""
    rows = {verb: {"verb": verb, "command": ["kvnsim", *words], "instructions": [], "peak_kib": []}
            for verb, words in VERBS.items()}
    for count in sizes:
        with tempfile.TemporaryDirectory() as folder:
            prepare(kvnsim, count, folder)
            for verb, words in VERBS.items():
                print(f"{count} interfaces: {verb}", file=sys.stderr, flush=True)
                command, statuses = [kvnsim, *words], STATUSES.get(verb, (0,))
                row = rows[verb]
                row["instructions"].append(work.instructions(command, folder, statuses))
                row["peak_kib"].append(work.peak_memory(command, folder, statuses))
    return list(rows.values())


def add_exponents(row, sizes, start):
    """By which power of their number the work grows from each size to the next."""
    costs = [count - start for count in row["instructions"]]
    row["exponents"] = [
        round(math.log(costs[i + 1] / costs[i]) / math.log(sizes[i + 1] / sizes[i]), 2)
        for i in range(len(sizes) - 1)]


def table(document):
    sizes = [f"{size:,}" for size in document["sizes"]]
    steps = [f"{a} to {b}" for a, b in zip(sizes, sizes[1:])]
    heads = ["Verb", *(f"Work, {size}" for size in sizes), *(f"Exponent, {step}" for step in steps),
             *(f"Memory, {size}" for size in sizes)]
    lines = ["| " + " | ".join(heads) + " |", "|---" + "|---:" * (len(heads) - 1) + "|"]
    for row in document["verbs"]:
        cells = [f"`{row['verb']}`",
                 *(f"{count / 1e6:,.0f}" for count in row["instructions"]),
                 *(f"{exponent:.2f}" for exponent in row["exponents"]),
                 *(f"{peak / 1024:,.0f}" for peak in row["peak_kib"])]
        lines.append("| " + " | ".join(cells) + " |")
    start = f"{document['start'] / 1e6:.1f}"
    lines += ["", "Work is in millions of instructions, memory in MiB. To start and do nothing is "
              f"{start} million, which the exponents leave out. {document['machine']}, "
              f"{document['tool']}."]
    return "\n".join(lines) + "\n"


def draw(document, path):
    """The work for one interface and the memory for one, by their number, on logarithmic axes."""
    blocks, curves = [], {"instructions": [], "peak_kib": []}
    for index, row in enumerate(document["verbs"]):
        points = zip(document["sizes"], row["instructions"], row["peak_kib"])
        blocks += [f"$verb{index} << end", *(f"{size} {count} {peak}" for size, count, peak in points),
                   "end"]
        for column, (what, scale) in enumerate((("instructions", 1e-3), ("peak_kib", 1)), 2):
            curves[what].append(
                f"$verb{index} using 1:(${column}*{scale}/$1) with linespoints linewidth 2 "
                f"linetype {index + 1} pointtype {index % 15 + 1} title '{row['verb']}'")
    script = "\n".join([
        "set terminal svg size 900,460 font 'sans-serif,12' background 'white'",
        f"set output '{path}'", *blocks,
        "set logscale xy", "set grid", "set xlabel 'L3 interfaces'", "set format x '%.0f'",
        "set multiplot layout 1,2", "set key off",
        "set ylabel 'thousand instructions for one interface'",
        "plot " + ", ".join(curves["instructions"]),
        "set key outside right center", "set ylabel 'peak memory for one interface, KiB'",
        "plot " + ", ".join(curves["peak_kib"]), "unset multiplot"])
    subprocess.run(["gnuplot"], input=script + "\n", text=True, check=True)


def update_page(docs, text, picture):
    page = os.path.join(docs, "performance.md")
    with open(page, encoding="utf-8") as file:
        before, rest = file.read().split(BEGIN)
    after = rest.split(END)[1]
    with open(page, "w", encoding="utf-8") as file:
        file.write(before + BEGIN + "\n" + text + "\n" + END + after)
    shutil.copyfile(picture, os.path.join(docs, "performance.svg"))


def main():
    kvnsim, sizes, output = os.path.abspath(sys.argv[1]), sys.argv[2].split(","), sys.argv[3]
    missing = work.missing_tools() + [tool for tool in ("gnuplot",) if not shutil.which(tool)]
    if missing:
        sys.exit(f"verbs.py: not installed: {', '.join(missing)}")
    sizes = sorted(int(size) for size in sizes)
    tool = subprocess.run(["valgrind", "--version"], stdout=subprocess.PIPE, text=True, check=True)
    document = {"machine": f"{platform.system()} on {platform.machine()}",
                "tool": tool.stdout.strip(), "sizes": sizes,
                "start": work.instructions([kvnsim, "version"], "."),
                "verbs": measure(kvnsim, sizes)}
    for row in document["verbs"]:
        add_exponents(row, sizes, document["start"])
    with open(output + ".json", "w", encoding="utf-8") as file:
        json.dump(document, file, indent=2)
        file.write("\n")
    text = table(document)
    with open(output + ".md", "w", encoding="utf-8") as file:
        file.write(text)
    draw(document, output + ".svg")
    if len(sys.argv) > 4:
        update_page(sys.argv[4], text, output + ".svg")
    print(text, end="")


if __name__ == "__main__":
    main()
