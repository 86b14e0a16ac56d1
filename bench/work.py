"""What a command costs, whatever else the machine does."""

import glob
import os
import shutil
import subprocess
import tempfile


def missing_tools():
    """Those of the programs that measure which are not installed."""
    return [tool for tool in ("valgrind", "time") if shutil.which(tool) is None]


def run(command, folder, statuses=(0,)):
    """Runs a command in a folder, without its output. Raises RuntimeError when its exit status is
    none of those."""
    done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, check=False)
    if done.returncode not in statuses:
        said = done.stderr.decode(errors="replace")[-2000:]
        raise RuntimeError(f"{' '.join(command)}: status {done.returncode}\n{said}")


def instructions(command, folder, statuses=(0,)):
    """How many instructions a command executes, without the kernel's. What a process did before it
    forked counts again for its child. It takes about 30 times as long as the command alone."""
    with tempfile.TemporaryDirectory() as counts:
        run(["valgrind", "-q", "--tool=cachegrind", "--cache-sim=no", "--vgdb=no",
             f"--cachegrind-out-file={counts}/%p", *command], folder, statuses)
        total = 0
        for path in glob.glob(os.path.join(counts, "*")):
            with open(path, encoding="utf-8", errors="replace") as file:
                total += next(int(line.split()[1]) for line in file
                              if line.startswith("summary: "))
    return total


def peak_memory(command, folder, statuses=(0,)):
    """The most memory that a command has at a time, in KiB."""
    with tempfile.NamedTemporaryFile() as peak:
        # Measured from a small process: a new program begins with the peak of who started it.
        run(["time", "--quiet", "-f", "%M", "-o", peak.name, *command], folder, statuses)
        return int(peak.read())
